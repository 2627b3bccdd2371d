#include "app/setconfigfilepathdialog.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

SetConfigFilePathDialog::SetConfigFilePathDialog(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Settings File Location"));
    auto *layout = new QVBoxLayout(this);
    auto *intro = new QLabel(tr("Choose the file in which Velmora keeps the settings of your "
                                "last session. You can keep the suggested place."),
                             this);
    intro->setWordWrap(true);
    layout->addWidget(intro);
    auto *row = new QHBoxLayout;
    pathEdit = new QLineEdit(defaultPath(), this);
    pathEdit->setObjectName(QStringLiteral("pathEdit"));
    auto *browseButton = new QPushButton(tr("Browse..."), this);
    row->addWidget(pathEdit, 1);
    row->addWidget(browseButton);
    layout->addLayout(row);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(browseButton, &QPushButton::clicked, this, &SetConfigFilePathDialog::browse);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(pathEdit, &QLineEdit::textChanged, this, [buttons](const QString &text) {
        buttons->button(QDialogButtonBox::Ok)->setEnabled(!text.trimmed().isEmpty());
    });
    resize(560, sizeHint().height());
}

QString SetConfigFilePathDialog::defaultPath()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation))
        .filePath(QStringLiteral("velmora.ini"));
}

QString SetConfigFilePathDialog::path() const
{
    return pathEdit->text().trimmed();
}

void SetConfigFilePathDialog::setPath(const QString &path)
{
    pathEdit->setText(path);
}

void SetConfigFilePathDialog::browse()
{
    const QString chosen = QFileDialog::getSaveFileName(this, tr("Settings File"), path(),
                                                        tr("Settings files (*.ini)"));
    if (!chosen.isEmpty()) {
        pathEdit->setText(chosen);
    }
}
