#pragma once

// Where velmora-cli writes: lines to standard output, sentences to standard error, and,
// with --json, one JSON object per event on standard output instead of text.

#include <QJsonObject>
#include <QString>
#include <QTextStream>

class CliOutput
{
public:
    CliOutput();

    void setJson(bool on) { json = on; }
    bool jsonMode() const { return json; }

    // A line of text (not in JSON mode).
    void line(const QString &text);
    // Text as it comes, no line end added; flushed at once.
    void raw(const QString &text);
    // An event: in JSON mode an object with "event" set to `kind`, else `text`.
    void event(const QString &kind, const QJsonObject &fields, const QString &text);
    // A sentence on standard error.
    void error(const QString &text);

private:
    QTextStream out;
    QTextStream err;
    bool json = false;
};
