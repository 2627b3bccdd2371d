// The test pane: pasted bytes decoded with the template as the form stands, as received
// bytes on a clock of its own, and flushed, so that a frame cut short shows as Incomplete.

#include "decode/frametemplatedialog.h"

#include "decode/frametablemodel.h"
#include "decode/frametemplatetext.h"
#include "decode/templatestreamdecoder.h"

#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>

void FrameTemplateDialog::setTestText(const QString &text)
{
    testInput->setPlainText(text);
    runTest(text);
}

QString FrameTemplateDialog::runTest(const QString &text)
{
    testResults->clear();
    testFields->setRowCount(0);
    testFrames.clear();
    testExplained.clear();
    const auto say = [this](const QString &message) {
        testMessage->setText(message);
        testMessage->setVisible(!message.isEmpty());
        return message;
    };
    if (working.isEmpty()) {
        return say(tr("Add a template first."));
    }
    if (text.trimmed().isEmpty()) {
        return say(tr("Paste some bytes to decode."));
    }
    FrameTemplate t;
    QString why;
    if (!collectForm(&t, &why)) {
        return say(why);
    }
    if (!t.validate(&why)) {
        return say(tr("The template is not complete: %1").arg(why));
    }
    QByteArray bytes;
    if (!FrameTemplateText::parseHex(text, &bytes, &why)) {
        return say(why);
    }
    TemplateStreamDecoder decoder(t);
    DecodeOutput out;
    decoder.ingest(FrameDirection::Rx, QString(), bytes, 0, QDateTime::currentDateTime(), out);
    decoder.flush(out);
    testFrames = out.frames;
    for (const DecodedFrame &frame : std::as_const(testFrames)) {
        testExplained.append(decoder.explain(frame));
        testResults->addItem(QStringLiteral("#%1  %2  %3")
                                 .arg(frame.seq)
                                 .arg(FrameTableModel::statusText(frame.status), frame.summary));
    }
    say(QString());
    testResults->setCurrentRow(0);
    return QString();
}

QStringList FrameTemplateDialog::testRows() const
{
    QStringList rows;
    for (int i = 0; i < testResults->count(); ++i) {
        rows.append(testResults->item(i)->text());
    }
    return rows;
}

QList<DecodedField> FrameTemplateDialog::testDetails(int row) const
{
    return row >= 0 && row < testExplained.size() ? testExplained.at(row) : QList<DecodedField>();
}

void FrameTemplateDialog::showTestFrame(int row)
{
    const QList<DecodedField> rows = testDetails(row);
    testFields->setRowCount(int(rows.size()));
    for (int i = 0; i < rows.size(); ++i) {
        auto *name = new QTableWidgetItem(rows.at(i).name);
        auto *value = new QTableWidgetItem(rows.at(i).value);
        if (rows.at(i).bad) {
            for (QTableWidgetItem *item : {name, value}) {
                item->setForeground(QColor(0xC6, 0x28, 0x28));
            }
        }
        testFields->setItem(i, 0, name);
        testFields->setItem(i, 1, value);
    }
    testFields->resizeColumnToContents(0);
}
