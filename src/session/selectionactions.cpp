#include "session/selectionactions.h"

#include "recording/sessionexport.h"
#include "session/receiverenderer.h"
#include "session/selectionsavedialog.h"

#include <QApplication>
#include <QClipboard>
#include <QLocale>
#include <QMenu>
#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTimeZone>

SelectionActions::SelectionActions(QPlainTextEdit *view, const ReceiveRenderer *renderer,
                                   QObject *parent)
    : QObject(parent)
    , view(view)
    , renderer(renderer)
{}

void SelectionActions::setTitleProbe(std::function<QString()> probe)
{
    titleProbe = std::move(probe);
}

QString SelectionActions::title() const
{
    return titleProbe ? titleProbe() : QString();
}

void SelectionActions::addToMenu(QMenu *menu)
{
    const bool selected = view->textCursor().hasSelection();
    QMenu *copyMenu = menu->addMenu(tr("Copy Selection As"));
    copyMenu->setEnabled(selected);
    connect(copyMenu->addAction(tr("C Array")), &QAction::triggered, this,
            [this] { copyAs(Format::CArray); });
    connect(copyMenu->addAction(tr("Hex Dump")), &QAction::triggered, this,
            [this] { copyAs(Format::HexDump); });
    connect(copyMenu->addAction(tr("Hex Bytes")), &QAction::triggered, this,
            [this] { copyAs(Format::Hex); });
    QAction *save = menu->addAction(tr("Save Selection As..."));
    save->setEnabled(selected);
    connect(save, &QAction::triggered, this, &SelectionActions::saveAs);
}

SelectionResult SelectionActions::currentResult() const
{
    return resultFor(view, *renderer);
}

SelectionResult SelectionActions::resultFor(const QPlainTextEdit *view,
                                            const ReceiveRenderer &renderer)
{
    const QTextCursor cursor = view->textCursor();
    if (!cursor.hasSelection()) {
        return {};
    }
    const DisplaySpanIndex &index = renderer.spanIndex();
    const qint64 trimmed = index.trimmedChars();
    const qint64 start = trimmed + cursor.selectionStart();
    const qint64 end = trimmed + cursor.selectionEnd();
    const QList<DisplaySpan> spans = index.intersecting(start, end);
    QStringList texts;
    texts.reserve(spans.size());
    QTextCursor text(view->document());
    const int last = view->document()->characterCount() - 1;
    for (const DisplaySpan &span : spans) {
        text.setPosition(int(std::clamp<qint64>(span.docStart - trimmed, 0, last)));
        text.setPosition(int(std::clamp<qint64>(span.docEnd() - trimmed, 0, last)),
                         QTextCursor::KeepAnchor);
        texts.append(text.selectedText());
    }
    return SelectionMapper::map(spans, texts, start, end, index.coversFrom());
}

QStringList SelectionActions::caveats(const SelectionResult &result)
{
    QStringList lines;
    if (result.olderLeftOut) {
        lines.append(tr("Part of the selection is older than VLM keeps byte-exact and was left "
                        "out."));
    }
    if (result.wholeFrames) {
        lines.append(tr("Whole frames were used: the text view cannot map every character to "
                        "its bytes. Switch the receive view to Hex for a byte-exact selection."));
    }
    return lines;
}

QString SelectionActions::sizeText(qint64 bytes)
{
    return tr("%1 bytes").arg(QLocale().toString(bytes));
}

bool SelectionActions::copy(const SelectionResult &result, Format format, const QString &title,
                            QString *message, qint64 *count)
{
    const QByteArray bytes = result.bytes();
    if (count) {
        *count = bytes.size();
    }
    if (bytes.isEmpty()) {
        *message = tr("The selection contains no received or sent data.");
        return false;
    }
    if (bytes.size() > CopyLimit) {
        *message = tr("The selection is %1; copying is limited to %2. Use Save Selection As... "
                      "instead.")
                       .arg(sizeText(bytes.size()), sizeText(CopyLimit));
        return false;
    }
    const int n = int(bytes.size());
    QString text;
    switch (format) {
    case Format::Hex:
        text = QString::fromLatin1(SessionExport::hexSpaced(bytes));
        *message = tr("Copied %n byte(s) as hex.", nullptr, n);
        break;
    case Format::HexDump:
        text = SessionExport::toHexDump(bytes);
        *message = tr("Copied %n byte(s) as a hex dump.", nullptr, n);
        break;
    case Format::CArray: {
        SessionExport::CArrayOptions options = SelectionSaveDialog::loadCArrayOptions();
        options.comment =
            SessionExport::selectionComment(result.pieces, title, QTimeZone::systemTimeZone());
        text = SessionExport::toCArray(bytes, options);
        *message = tr("Copied %n byte(s) as a C array.", nullptr, n);
        break;
    }
    }
    QApplication::clipboard()->setText(text);
    const QStringList notes = caveats(result);
    if (!notes.isEmpty()) {
        *message += u' ' + notes.join(u' ');
    }
    return true;
}

bool SelectionActions::save(QWidget *parent, const SelectionResult &result, const QString &title,
                            QString *message)
{
    if (result.isEmpty()) {
        *message = tr("The selection contains no received or sent data.");
        return false;
    }
    SelectionSaveDialog dialog(result, title, parent);
    const bool saved = dialog.exec() == QDialog::Accepted;
    *message = dialog.resultMessage();
    return saved;
}

void SelectionActions::copyAs(Format format)
{
    QString text;
    copy(currentResult(), format, title(), &text);
    emit message(text);
}

void SelectionActions::saveAs()
{
    QString text;
    save(view, currentResult(), title(), &text);
    if (!text.isEmpty()) {
        emit message(text);
    }
}
