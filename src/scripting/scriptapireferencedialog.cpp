#include "scripting/scriptapireferencedialog.h"

#include "scripting/scriptapireference.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

ScriptApiReferenceDialog::ScriptApiReferenceDialog(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("scriptApiReferenceDialog"));
    setWindowTitle(tr("Lua API Reference"));

    findEdit = new QLineEdit(this);
    findEdit->setObjectName(QStringLiteral("apiFindEdit"));
    findEdit->setPlaceholderText(tr("Function name, e.g. expect"));
    findEdit->setClearButtonEnabled(true);
    browser = new QTextBrowser(this);
    browser->setObjectName(QStringLiteral("apiReferenceBrowser"));
    browser->setHtml(ScriptApiReference::toHtml());

    auto *findRow = new QHBoxLayout;
    findRow->addWidget(new QLabel(tr("Find:"), this));
    findRow->addWidget(findEdit, 1);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(findRow);
    layout->addWidget(browser, 1);
    layout->addWidget(buttons);
    resize(820, 600);

    // The entry of the first function whose name starts with what is typed.
    connect(findEdit, &QLineEdit::textChanged, this, [this](const QString &text) {
        const QString wanted = text.trimmed();
        if (wanted.isEmpty()) {
            return;
        }
        for (const QString &name : ScriptApiReference::functionNames()) {
            if (name.startsWith(wanted, Qt::CaseInsensitive)) {
                showFunction(name);
                return;
            }
        }
    });
}

bool ScriptApiReferenceDialog::showFunction(const QString &name)
{
    if (!ScriptApiReference::functionNames().contains(name)) {
        return false;
    }
    browser->scrollToAnchor(name);
    return true;
}
