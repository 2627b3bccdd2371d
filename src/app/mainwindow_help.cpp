// The Help menu: About, the keyboard shortcuts and the Lua API reference.

#include "app/mainwindow.h"

#include "scripting/scriptapireference.h"
#include "scripting/scriptapireferencedialog.h"

#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {
// The shortcuts of a menu and its submenus, as "Menu > Item" and the key.
void collectShortcuts(const QMenu *menu, const QString &path, QList<QPair<QString, QString>> *out)
{
    for (QAction *action : menu->actions()) {
        const QString title = path + QStringLiteral(" > ") + action->text().remove(u'&');
        if (action->menu()) {
            collectShortcuts(action->menu(), title, out);
        } else if (!action->shortcut().isEmpty()) {
            out->append({title, action->shortcut().toString(QKeySequence::NativeText)});
        }
    }
}
} // namespace

void MainWindow::createHelpActions()
{
    QMenu *help = menuBar()->addMenu(tr("&Help"));
    help->setObjectName(QStringLiteral("helpMenu"));
    QAction *shortcuts = help->addAction(tr("Keyboard Shortcuts"));
    shortcuts->setObjectName(QStringLiteral("acHelpShortcuts"));
    connect(shortcuts, &QAction::triggered, this, &MainWindow::showKeyboardShortcuts);
    QAction *reference = help->addAction(tr("Lua API Reference"));
    reference->setObjectName(QStringLiteral("acHelpLuaApi"));
    connect(reference, &QAction::triggered, this, [this] {
        auto *dialog = new ScriptApiReferenceDialog(this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->show();
    });
    QAction *pack = help->addAction(tr("Export Diagnostic Pack..."));
    pack->setObjectName(QStringLiteral("acHelpDiagnosticPack"));
    connect(pack, &QAction::triggered, this, &MainWindow::openDiagnosticPackDialog);
    help->addSeparator();
    QAction *about = help->addAction(tr("About Velmora"));
    about->setObjectName(QStringLiteral("acHelpAbout"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, [this] {
        QMessageBox::about(this, tr("About Velmora"), aboutText());
    });
}

QString MainWindow::aboutText()
{
    return tr("<h3>Velmora %1</h3>"
              "<p>A workbench for bringing up and debugging serial devices: serial, TCP, UDP "
              "and remote serial connections side by side, with auto reply, commands, "
              "sequences and Lua scripts.</p>"
              "<p>Built with Qt %2 (running on Qt %3) and %4.</p>"
              "<p>Copyright © NORVANE. All rights reserved. Qt is used under the GNU LGPL "
              "version 3; Lua is free software under the MIT licence.</p>")
        .arg(QCoreApplication::applicationVersion(), QStringLiteral(QT_VERSION_STR),
             QString::fromLatin1(qVersion()), ScriptApiReference::luaRelease());
}

QList<QPair<QString, QString>> MainWindow::keyboardShortcuts() const
{
    QList<QPair<QString, QString>> list;
    for (QAction *action : menuBar()->actions()) {
        if (action->menu()) {
            collectShortcuts(action->menu(), action->text().remove(u'&'), &list);
        }
    }
    const auto key = [](QKeySequence::StandardKey standard) {
        return QKeySequence(standard).toString(QKeySequence::NativeText);
    };
    list.append({tr("Send box: send the message"),
                 QKeySequence(Qt::CTRL | Qt::Key_Return).toString(QKeySequence::NativeText)});
    list.append({tr("Receive view: every key goes to the device while the port is open and "
                    "sends text; Enter sends the port's Enter bytes"),
                 tr("any key")});
    list.append({tr("Receive view: find text, live as data arrives"), key(QKeySequence::Find)});
    list.append({tr("Find bar: next and previous match"),
                 QStringLiteral("F3, ") + QKeySequence(Qt::SHIFT | Qt::Key_F3).toString(
                                              QKeySequence::NativeText)});
    list.append({tr("Scripts window: run the script"),
                 QKeySequence(Qt::CTRL | Qt::Key_R).toString(QKeySequence::NativeText)});
    list.append({tr("Scripts window: Lua API reference"), key(QKeySequence::HelpContents)});
    for (const CommandGroup &group : commandLibrary.groups) {
        for (const Command &command : group.commands) {
            if (!command.shortcut.isEmpty()) {
                list.append({tr("Command %1 / %2: send to the focused port")
                                 .arg(group.name, command.name),
                             command.shortcut});
            }
        }
    }
    return list;
}

void MainWindow::showKeyboardShortcuts()
{
    QString html = QStringLiteral("<table cellspacing=\"0\" cellpadding=\"4\">");
    for (const auto &[what, keys] : keyboardShortcuts()) {
        html += QStringLiteral("<tr><td><b>%1</b></td><td>%2</td></tr>")
                    .arg(keys.toHtmlEscaped(), what.toHtmlEscaped());
    }
    html += QStringLiteral("</table>");
    auto *dialog = new QDialog(this);
    dialog->setObjectName(QStringLiteral("keyboardShortcutsDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Keyboard Shortcuts"));
    auto *browser = new QTextBrowser(dialog);
    browser->setHtml(html);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(dialog);
    layout->addWidget(browser);
    layout->addWidget(buttons);
    dialog->resize(620, 420);
    dialog->show();
}
