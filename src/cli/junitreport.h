#pragma once

// A JUnit XML file, the form CI servers read: one testsuite per run with its test
// cases, failures with their messages, the run's output in system-out, times in
// seconds.

#include <QList>
#include <QString>

class JUnitReport
{
public:
    struct Case
    {
        QString name;
        double seconds = 0;
        bool failed = false;
        QString message; // the failure's one-line reason
        QString detail;  // the failure's text
    };

    explicit JUnitReport(const QString &suiteName);

    void addCase(const Case &testCase) { cases.append(testCase); }
    void setOutput(const QString &text) { output = text; }
    void setSeconds(double value) { seconds = value; }

    QByteArray toXml() const;
    // False with the system's reason in `error`.
    bool write(const QString &path, QString *error) const;

private:
    QString suite;
    QList<Case> cases;
    QString output;
    double seconds = 0;
};
