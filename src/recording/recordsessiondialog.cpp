#include "recording/recordsessiondialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>

namespace {
constexpr qint64 MB = 1048576;
}

RecordSessionDialog::RecordSessionDialog(const QString &path, const QString &heldText,
                                         QWidget *parent)
    : QDialog(parent)
    , pathEdit(new QLineEdit(path, this))
    , heldBox(new QCheckBox(
          tr("Start with what VLM already holds from this session (%1)").arg(heldText), this))
    , partSpin(new QSpinBox(this))
{
    setWindowTitle(tr("Record Session"));
    pathEdit->setObjectName(QStringLiteral("recordPathEdit"));
    heldBox->setObjectName(QStringLiteral("recordHeldBox"));
    partSpin->setObjectName(QStringLiteral("recordPartSpin"));
    // 0 never starts a new file.
    partSpin->setRange(0, 102400);
    partSpin->setValue(100);
    partSpin->setSpecialValueText(tr("never"));

    auto *browseButton = new QPushButton(tr("Browse..."), this);
    connect(browseButton, &QPushButton::clicked, this, &RecordSessionDialog::browse);
    auto *pathRow = new QHBoxLayout;
    pathRow->addWidget(pathEdit, 1);
    pathRow->addWidget(browseButton);

    // The spin box sits where the sentence has its number.
    const QStringList around = tr("Start a new file every %1 MB").split(QStringLiteral("%1"));
    auto *partRow = new QHBoxLayout;
    partRow->addWidget(new QLabel(around.value(0).trimmed(), this));
    partRow->addWidget(partSpin);
    partRow->addWidget(new QLabel(around.value(1).trimmed(), this));
    partRow->addStretch(1);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    auto *startButton = buttons->addButton(tr("Start Recording"), QDialogButtonBox::AcceptRole);
    startButton->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &RecordSessionDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &RecordSessionDialog::reject);

    auto *form = new QFormLayout;
    form->addRow(tr("File:"), pathRow);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(heldBox);
    layout->addLayout(partRow);
    layout->addWidget(buttons);

    confirm = [this](const QString &question) {
        return QMessageBox::question(this, windowTitle(), question) == QMessageBox::Yes;
    };
}

SessionRecording::Options RecordSessionDialog::options() const
{
    SessionRecording::Options options;
    options.path = pathEdit->text().trimmed();
    options.includeHeld = heldBox->isChecked();
    options.partBytes = qint64(partSpin->value()) * MB;
    return options;
}

void RecordSessionDialog::setOptions(const SessionRecording::Options &options)
{
    pathEdit->setText(options.path);
    heldBox->setChecked(options.includeHeld);
    partSpin->setValue(int(options.partBytes / MB));
}

void RecordSessionDialog::setConfirm(std::function<bool(const QString &)> ask)
{
    confirm = std::move(ask);
}

void RecordSessionDialog::browse()
{
    QFileDialog dialog(this, tr("Record Session"), pathEdit->text(),
                       tr("VLM recordings (*.vlmlog)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("vlmlog"));
    // Replacing is asked when the recording starts, with its parts counted.
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
        pathEdit->setText(dialog.selectedFiles().constFirst());
    }
}

void RecordSessionDialog::accept()
{
    QString path = pathEdit->text().trimmed();
    if (path.isEmpty()) {
        pathEdit->setFocus();
        return;
    }
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".vlmlog");
        pathEdit->setText(path);
    }
    QStringList replaced;
    if (QFileInfo::exists(path)) {
        replaced << QDir::toNativeSeparators(path);
    }
    for (const QString &part : SessionRecording::existingParts(path)) {
        replaced << QDir::toNativeSeparators(part);
    }
    if (!replaced.isEmpty() &&
        !confirm(tr("This replaces an earlier recording:\n%1\n\nReplace it?")
                     .arg(replaced.join(u'\n')))) {
        return;
    }
    // Parts of the earlier recording go, so that the new one's parts can be created.
    for (const QString &part : SessionRecording::existingParts(path)) {
        QFile::remove(part);
    }
    QDialog::accept();
}
