#include "automation/commandeditdialog.h"

#include "automation/commandeditor.h"

#include <QDialogButtonBox>
#include <QVBoxLayout>

CommandEditDialog::CommandEditDialog(const Command &command, const FormatSetting &format,
                                     QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("commandEditDialog"));
    setWindowTitle(tr("Command"));
    auto *layout = new QVBoxLayout(this);
    form = new CommandEditor(this);
    form->setFormat(format);
    form->setCommand(command);
    layout->addWidget(form);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    resize(520, sizeHint().height());
}

Command CommandEditDialog::command() const
{
    return form->command();
}
