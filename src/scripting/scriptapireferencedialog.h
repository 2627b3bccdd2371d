#pragma once

#include <QDialog>

class QLineEdit;
class QTextBrowser;

// Shows the Lua API reference: every function a script can call, with its arguments,
// results and an example, and a field that finds a function by name.
class ScriptApiReferenceDialog : public QDialog
{
    Q_OBJECT
public:
    explicit ScriptApiReferenceDialog(QWidget *parent = nullptr);

    // Scrolls to the entry of a function; false when there is none of that name.
    bool showFunction(const QString &name);

private:
    QLineEdit *findEdit = nullptr;
    QTextBrowser *browser = nullptr;
};
