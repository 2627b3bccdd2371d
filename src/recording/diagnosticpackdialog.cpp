#include "recording/diagnosticpackdialog.h"

#include "recording/exportdialogs.h"
#include "recording/zipwriter.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLocale>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSaveFile>
#include <QSettings>
#include <QThread>
#include <QVBoxLayout>

namespace {

const QString OptionsKey = QStringLiteral("Export/PackOptions");

} // namespace

DiagnosticPackDialog::DiagnosticPackDialog(qint64 maxTraffic, QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Export Diagnostic Pack"));
    setObjectName(QStringLiteral("DiagnosticPackDialog"));
    auto *layout = new QVBoxLayout(this);

    auto *intro = new QLabel(
        tr("A pack for support. Always included: program and system versions, screens, "
           "application settings on an allow-list, the serial ports of this computer, each "
           "port's settings and counters, and the bridge settings. Machine IDs, user and "
           "computer names are replaced by \"[redacted]\" everywhere, and home folders are "
           "shown as \"~\"."),
        this);
    intro->setWordWrap(true);
    layout->addWidget(intro);

    auto box = [this, layout](const char *name, const QString &id) {
        auto *check = new QCheckBox(DiagnosticPack::optionTitle(id), this);
        check->setObjectName(QLatin1String(name));
        layout->addWidget(check);
        connect(check, &QCheckBox::toggled, this, &DiagnosticPackDialog::updateContents);
        return check;
    };
    trafficBox = box("packTrafficBox", QStringLiteral("traffic"));
    if (maxTraffic > 0) {
        trafficBox->setToolTip(tr("The ports hold %1 of session data now.")
                                   .arg(QLocale().formattedDataSize(maxTraffic)));
    }
    projectBox = box("packProjectBox", QStringLiteral("project"));
    libraryBox = box("packLibraryBox", QStringLiteral("library"));
    sendHistoryBox = box("packSendHistoryBox", QStringLiteral("sendHistory"));
    sequencesBox = box("packSequencesBox", QStringLiteral("sequences"));
    bridgeCapturesBox = box("packBridgeCapturesBox", QStringLiteral("bridgeCaptures"));

    layout->addWidget(new QLabel(tr("Contents:"), this));
    contentsView = new QPlainTextEdit(this);
    contentsView->setObjectName(QStringLiteral("packContentsView"));
    contentsView->setReadOnly(true);
    contentsView->setLineWrapMode(QPlainTextEdit::NoWrap);
    contentsView->setMinimumHeight(160);
    layout->addWidget(contentsView, 1);

    progress = new QProgressBar(this);
    progress->setObjectName(QStringLiteral("packProgress"));
    progress->setRange(0, 1);
    progress->setValue(0);
    progress->setVisible(false);
    layout->addWidget(progress);
    messageLabel = new QLabel(this);
    messageLabel->setObjectName(QStringLiteral("packMessage"));
    messageLabel->setWordWrap(true);
    messageLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(messageLabel);

    auto *buttons = new QDialogButtonBox(this);
    saveButton = buttons->addButton(tr("Save..."), QDialogButtonBox::AcceptRole);
    saveButton->setObjectName(QStringLiteral("packSaveButton"));
    saveButton->setDefault(true);
    closeButton = buttons->addButton(QDialogButtonBox::Close);
    connect(saveButton, &QPushButton::clicked, this, &DiagnosticPackDialog::save);
    connect(buttons, &QDialogButtonBox::rejected, this, &DiagnosticPackDialog::reject);
    layout->addWidget(buttons);

    setOptions(DiagnosticPack::loadOptions(QSettings().value(OptionsKey)));
    resize(620, 560);
}

DiagnosticPackDialog::~DiagnosticPackDialog()
{
    if (worker) {
        cancelFlag->store(true);
        worker->wait();
        delete worker;
    }
}

void DiagnosticPackDialog::setInput(const DiagnosticPack::Input &value)
{
    input = value;
    updateContents();
}

DiagnosticPack::Options DiagnosticPackDialog::options() const
{
    DiagnosticPack::Options o;
    o.traffic = trafficBox->isChecked();
    o.project = projectBox->isChecked();
    o.library = libraryBox->isChecked();
    o.sendHistory = sendHistoryBox->isChecked();
    o.sequences = sequencesBox->isChecked();
    o.bridgeCaptures = bridgeCapturesBox->isChecked();
    return o;
}

void DiagnosticPackDialog::setOptions(const DiagnosticPack::Options &o)
{
    const QSignalBlocker blockers[] = {
        QSignalBlocker(trafficBox),     QSignalBlocker(projectBox),
        QSignalBlocker(libraryBox),     QSignalBlocker(sendHistoryBox),
        QSignalBlocker(sequencesBox),   QSignalBlocker(bridgeCapturesBox),
    };
    trafficBox->setChecked(o.traffic);
    projectBox->setChecked(o.project);
    libraryBox->setChecked(o.library);
    sendHistoryBox->setChecked(o.sendHistory);
    sequencesBox->setChecked(o.sequences);
    bridgeCapturesBox->setChecked(o.bridgeCaptures);
    updateContents();
}

QString DiagnosticPackDialog::contentsText() const
{
    return contentsView->toPlainText();
}

QString DiagnosticPackDialog::defaultFileName(const QDateTime &when)
{
    return QStringLiteral("velmora-diagnostics-%1.zip")
        .arg(when.toString(QStringLiteral("yyyyMMdd-HHmmss")));
}

void DiagnosticPackDialog::updateContents()
{
    // The library and send history live in the project file: without it they cannot
    // come along.
    libraryBox->setEnabled(projectBox->isChecked());
    sendHistoryBox->setEnabled(projectBox->isChecked());
    if (isWriting()) {
        return;
    }
    DiagnosticPack::Input planned = input;
    planned.options = options();
    const DiagnosticPack::Plan plan = DiagnosticPack::plan(planned);
    QStringList lines;
    for (const DiagnosticPack::Entry &entry : plan.entries) {
        lines << QStringLiteral("%1\t%2").arg(entry.path, entry.about);
    }
    lines << QStringLiteral("manifest.json\t%1").arg(tr("This list, with sizes"));
    showLines(lines);
}

void DiagnosticPackDialog::showLines(const QStringList &lines)
{
    // Columns by tab: the tab stop sits behind the widest first column.
    int widest = 0;
    for (const QString &line : lines) {
        widest = std::max(widest, contentsView->fontMetrics().horizontalAdvance(
                                      line.section(u'\t', 0, 0)));
    }
    contentsView->setTabStopDistance(widest + contentsView->fontMetrics().averageCharWidth() * 3);
    contentsView->setPlainText(lines.join(u'\n'));
}

void DiagnosticPackDialog::save()
{
    const QString start = QDir(ExportDialogs::lastDirectory())
                              .filePath(defaultFileName(QDateTime::currentDateTime()));
    QString path = QFileDialog::getSaveFileName(this, tr("Save Diagnostic Pack"), start,
                                                tr("ZIP archives (*.zip)"));
    if (path.isEmpty()) {
        return;
    }
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".zip");
    }
    ExportDialogs::rememberDirectory(path);
    startPack(path);
}

bool DiagnosticPackDialog::startPack(const QString &path)
{
    if (isWriting()) {
        return false;
    }
    QSettings().setValue(OptionsKey, DiagnosticPack::saveOptions(options()));
    DiagnosticPack::Input planned = input;
    planned.options = options();
    const QDateTime when = QDateTime::currentDateTime();
    planned.when = when;
    const DiagnosticPack::Plan plan = DiagnosticPack::plan(planned);

    progress->setRange(0, int(plan.entries.size()) + 1);
    progress->setValue(0);
    progress->setVisible(true);
    messageLabel->setText(tr("Writing %1...").arg(QDir::toNativeSeparators(path)));
    saveButton->setEnabled(false);
    closeButton->setText(tr("Cancel"));

    cancelFlag = std::make_shared<std::atomic_bool>(false);
    // The plan's entries hold copies of what they need, so they can be produced on the
    // worker; results come back through queued calls, which die with the dialog.
    worker = QThread::create([this, plan, path, when, cancel = cancelFlag] {
        QSaveFile file(path);
        QString error;
        DiagnosticPack::Result result;
        bool ok = file.open(QIODevice::WriteOnly);
        if (!ok) {
            error = file.errorString();
        } else {
            ZipWriter zip(&file);
            ok = DiagnosticPack::write(
                plan, zip, when, &error,
                [this, cancel](int done, int total) {
                    QMetaObject::invokeMethod(
                        this, [this, done, total] { showProgress(done, total); },
                        Qt::QueuedConnection);
                    return !cancel->load();
                },
                &result);
            if (ok) {
                ok = file.commit();
                if (!ok) {
                    error = file.errorString();
                }
            } else {
                file.cancelWriting();
            }
        }
        QMetaObject::invokeMethod(
            this, [this, ok, error, result, path] { finish(ok, error, result, path); },
            Qt::QueuedConnection);
    });
    worker->start();
    return true;
}

bool DiagnosticPackDialog::isWriting() const
{
    return worker != nullptr;
}

void DiagnosticPackDialog::cancelPack()
{
    if (cancelFlag) {
        cancelFlag->store(true);
    }
}

void DiagnosticPackDialog::reject()
{
    if (isWriting()) {
        cancelPack();
        return;
    }
    QDialog::reject();
}

void DiagnosticPackDialog::showProgress(int done, int total)
{
    progress->setRange(0, total + 1);
    progress->setValue(done);
}

void DiagnosticPackDialog::finish(bool ok, const QString &error,
                                  const DiagnosticPack::Result &result, const QString &path)
{
    worker->wait();
    delete worker;
    worker = nullptr;
    saveButton->setEnabled(true);
    closeButton->setText(tr("Close"));
    progress->setValue(progress->maximum());
    const QString shown = QDir::toNativeSeparators(path);
    QString message;
    if (!ok) {
        message = tr("The pack could not be written: %1").arg(error);
        progress->setVisible(false);
    } else {
        // The manifest as the user should read it: every entry with its size.
        QStringList lines;
        const QJsonObject manifest = QJsonDocument::fromJson(result.manifest).object();
        const QJsonArray entries = manifest.value(QStringLiteral("entries")).toArray();
        for (const QJsonValue &value : entries) {
            const QJsonObject entry = value.toObject();
            lines << QStringLiteral("%1\t%2 (%3)")
                         .arg(entry.value(QStringLiteral("path")).toString(),
                              entry.value(QStringLiteral("about")).toString(),
                              QLocale().formattedDataSize(
                                  entry.value(QStringLiteral("bytes")).toInteger()));
        }
        showLines(lines);
        contentsView->appendPlainText(QStringLiteral("\n") +
                                      tr("%n item(s) replaced by \"[redacted]\".", nullptr,
                                         int(result.scrubbed)));
        message = result.cancelled
                      ? tr("Cancelled: %1 holds the %n entry(ies) written so far.", nullptr,
                           int(entries.size()))
                            .arg(shown)
                      : tr("Saved %1.").arg(shown);
    }
    messageLabel->setText(message);
    emit packFinished(ok, message);
}
