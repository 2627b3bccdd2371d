#include "cli/junitreport.h"

#include <QDateTime>
#include <QSaveFile>
#include <QXmlStreamWriter>

JUnitReport::JUnitReport(const QString &suiteName)
    : suite(suiteName)
{
}

QByteArray JUnitReport::toXml() const
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    const auto secondsText = [](double value) { return QString::number(value, 'f', 3); };
    qsizetype failures = 0;
    for (const Case &testCase : cases) {
        failures += testCase.failed ? 1 : 0;
    }
    writer.writeStartElement(QStringLiteral("testsuites"));
    writer.writeStartElement(QStringLiteral("testsuite"));
    writer.writeAttribute(QStringLiteral("name"), suite);
    writer.writeAttribute(QStringLiteral("tests"), QString::number(cases.size()));
    writer.writeAttribute(QStringLiteral("failures"), QString::number(failures));
    writer.writeAttribute(QStringLiteral("errors"), QStringLiteral("0"));
    writer.writeAttribute(QStringLiteral("time"), secondsText(seconds));
    writer.writeAttribute(QStringLiteral("timestamp"),
                          QDateTime::currentDateTimeUtc().toString(Qt::ISODate));
    for (const Case &testCase : cases) {
        writer.writeStartElement(QStringLiteral("testcase"));
        writer.writeAttribute(QStringLiteral("name"), testCase.name);
        writer.writeAttribute(QStringLiteral("classname"), suite);
        writer.writeAttribute(QStringLiteral("time"), secondsText(testCase.seconds));
        if (testCase.failed) {
            writer.writeStartElement(QStringLiteral("failure"));
            writer.writeAttribute(QStringLiteral("message"), testCase.message);
            writer.writeCharacters(testCase.detail);
            writer.writeEndElement();
        }
        writer.writeEndElement();
    }
    writer.writeTextElement(QStringLiteral("system-out"), output);
    writer.writeEndElement();
    writer.writeEndElement();
    writer.writeEndDocument();
    return xml;
}

bool JUnitReport::write(const QString &path, QString *error) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(toXml()) < 0 || !file.commit()) {
        if (error) {
            *error = file.errorString();
        }
        return false;
    }
    return true;
}
