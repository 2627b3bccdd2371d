#pragma once

// Copy and save for a selection in the receive view, as the bytes behind the text: hex
// pairs, a hex dump or a C array to the clipboard (up to 1 MiB), and any size to a file
// through SelectionSaveDialog. The actions report through message(), for the panel's
// message line.

#include "session/selectionmapper.h"

#include <QObject>

#include <functional>

class QAction;
class QMenu;
class QPlainTextEdit;
class QWidget;
class ReceiveRenderer;

class SelectionActions : public QObject
{
    Q_OBJECT
public:
    enum class Format {
        Hex,
        HexDump,
        CArray,
    };

    static constexpr qint64 CopyLimit = 1048576;

    SelectionActions(QPlainTextEdit *view, const ReceiveRenderer *renderer, QObject *parent = nullptr);

    // Where the bytes came from, for summaries and C comments (the port's name).
    void setTitleProbe(std::function<QString()> probe);
    // "Copy Selection As" with "C Array", "Hex Dump", "Hex Bytes", then "Save Selection
    // As...", for the view's context menu.
    void addToMenu(QMenu *menu);

    // The view's selection as bytes, now.
    SelectionResult currentResult() const;
    static SelectionResult resultFor(const QPlainTextEdit *view, const ReceiveRenderer &renderer);

    static QStringList caveats(const SelectionResult &result);
    // Puts the bytes on the clipboard; false with the reason in `message`.
    static bool copy(const SelectionResult &result, Format format, const QString &title,
                     QString *message, qint64 *count = nullptr);
    // Shows the save dialog; `message` says what happened (empty when cancelled).
    static bool save(QWidget *parent, const SelectionResult &result, const QString &title,
                     QString *message);

    // "1,048,577 bytes".
    static QString sizeText(qint64 bytes);

signals:
    void message(const QString &text);

private:
    void copyAs(Format format);
    void saveAs();
    QString title() const;

    QPlainTextEdit *view;
    const ReceiveRenderer *renderer;
    std::function<QString()> titleProbe;
};
