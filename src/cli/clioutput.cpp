#include "cli/clioutput.h"

#include <QJsonDocument>

#include <cstdio>

CliOutput::CliOutput()
    : out(stdout)
    , err(stderr)
{
}

void CliOutput::line(const QString &text)
{
    out << text << '\n';
    out.flush();
}

void CliOutput::raw(const QString &text)
{
    out << text;
    out.flush();
}

void CliOutput::event(const QString &kind, const QJsonObject &fields, const QString &text)
{
    if (!json) {
        line(text);
        return;
    }
    QJsonObject object = fields;
    object.insert(QStringLiteral("event"), kind);
    out << QJsonDocument(object).toJson(QJsonDocument::Compact) << '\n';
    out.flush();
}

void CliOutput::error(const QString &text)
{
    err << text << '\n';
    err.flush();
}
