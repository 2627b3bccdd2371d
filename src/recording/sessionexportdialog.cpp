#include "recording/sessionexportdialog.h"

#include "recording/exportdialogs.h"
#include "recording/sessionexportwriter.h"
#include "recording/sessionrecorder.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSettings>
#include <QTimer>
#include <QVBoxLayout>

namespace {

const QString FormatKey = QStringLiteral("Export/SessionFormat");
const QString ScopeKey = QStringLiteral("Export/SessionScope");

} // namespace

struct SessionExportDialog::Job
{
    std::unique_ptr<QSaveFile> file;
    std::unique_ptr<SessionExportWriter> writer;
    QString path;
};

SessionExportDialog::SessionExportDialog(const QList<Port> &ports, int focused, QWidget *parent)
    : QDialog(parent)
    , ports(ports)
    , focused(std::clamp(focused, 0, std::max(0, int(ports.size()) - 1)))
{
    setObjectName(QStringLiteral("sessionExportDialog"));
    setWindowTitle(tr("Export Session"));
    setMinimumWidth(460);
    auto *layout = new QVBoxLayout(this);
    auto *form = new QFormLayout;

    const QString focusedLabel = ports.isEmpty() ? QString() : ports.at(this->focused).info.label;
    scopeFocusedRadio = new QRadioButton(tr("Focused port (%1)").arg(focusedLabel), this);
    scopeFocusedRadio->setObjectName(QStringLiteral("scopeFocusedRadio"));
    scopeAllRadio = new QRadioButton(tr("All ports (%n)", nullptr, int(ports.size())), this);
    scopeAllRadio->setObjectName(QStringLiteral("scopeAllRadio"));
    auto *scope = new QVBoxLayout;
    scope->addWidget(scopeFocusedRadio);
    scope->addWidget(scopeAllRadio);
    form->addRow(tr("Ports:"), scope);

    formatCombo = new QComboBox(this);
    formatCombo->setObjectName(QStringLiteral("sessionFormatCombo"));
    for (const Format format : {Format::Csv, Format::Jsonl, Format::Text}) {
        formatCombo->addItem(formatLabel(format), formatSuffix(format));
    }
    form->addRow(tr("Format:"), formatCombo);
    textColumnCombo = new QComboBox(this);
    textColumnCombo->setObjectName(QStringLiteral("textColumnCombo"));
    textColumnCombo->addItems({tr("Escaped ASCII"), tr("Decode with the port's encoding")});
    form->addRow(tr("Text column:"), textColumnCombo);
    dataAsCombo = new QComboBox(this);
    dataAsCombo->setObjectName(QStringLiteral("dataAsCombo"));
    dataAsCombo->addItems({tr("Hex"), tr("Text")});
    form->addRow(tr("Data as:"), dataAsCombo);
    afterClearBox = new QCheckBox(tr("Only data after the last Clear"), this);
    afterClearBox->setObjectName(QStringLiteral("afterClearBox"));
    form->addRow(QString(), afterClearBox);
    layout->addLayout(form);

    overviewLabel = new QLabel(this);
    overviewLabel->setObjectName(QStringLiteral("recordOverviewLabel"));
    overviewLabel->setWordWrap(true);
    layout->addWidget(overviewLabel);
    progress = new QProgressBar(this);
    progress->setObjectName(QStringLiteral("exportProgress"));
    progress->hide();
    layout->addWidget(progress);
    messageLabel = new QLabel(this);
    messageLabel->setObjectName(QStringLiteral("exportMessage"));
    messageLabel->setWordWrap(true);
    messageLabel->hide();
    layout->addWidget(messageLabel);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    exportButton = buttons->addButton(tr("Export..."), QDialogButtonBox::AcceptRole);
    exportButton->setObjectName(QStringLiteral("exportButton"));
    exportButton->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &SessionExportDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SessionExportDialog::reject);
    layout->addWidget(buttons);

    const QSettings settings;
    const int stored = formatCombo->findData(settings.value(FormatKey).toString());
    formatCombo->setCurrentIndex(std::max(stored, 0));
    const bool all = settings.value(ScopeKey).toString() == QStringLiteral("all");
    (all && ports.size() > 1 ? scopeAllRadio : scopeFocusedRadio)->setChecked(true);

    connect(formatCombo, &QComboBox::currentIndexChanged, this, &SessionExportDialog::updateForm);
    connect(scopeAllRadio, &QRadioButton::toggled, this, &SessionExportDialog::updateForm);
    connect(afterClearBox, &QCheckBox::toggled, this, &SessionExportDialog::updateForm);

    sliceTimer = new QTimer(this);
    sliceTimer->setInterval(0);
    connect(sliceTimer, &QTimer::timeout, this, &SessionExportDialog::runSlice);
    updateForm();
}

SessionExportDialog::~SessionExportDialog()
{
    cancelExport();
}

QString SessionExportDialog::formatLabel(Format format)
{
    switch (format) {
    case Format::Csv:
        return tr("CSV (Excel)");
    case Format::Jsonl:
        return tr("JSON Lines (for scripts and replay)");
    case Format::Text:
        break;
    }
    return tr("Text");
}

QString SessionExportDialog::formatSuffix(Format format)
{
    switch (format) {
    case Format::Csv:
        return QStringLiteral("csv");
    case Format::Jsonl:
        return QStringLiteral("jsonl");
    case Format::Text:
        break;
    }
    return QStringLiteral("txt");
}

SessionExportDialog::Format SessionExportDialog::format() const
{
    return Format(formatCombo->currentIndex());
}

void SessionExportDialog::setFormat(Format format)
{
    formatCombo->setCurrentIndex(int(format));
}

bool SessionExportDialog::allPorts() const
{
    return scopeAllRadio->isChecked();
}

void SessionExportDialog::setAllPorts(bool all)
{
    (all ? scopeAllRadio : scopeFocusedRadio)->setChecked(true);
}

void SessionExportDialog::setAfterClear(bool on)
{
    afterClearBox->setChecked(on);
}

void SessionExportDialog::updateForm()
{
    textColumnCombo->setEnabled(format() == Format::Csv);
    dataAsCombo->setEnabled(format() == Format::Text);
    overviewLabel->setText(overviewText());
    exportButton->setEnabled(!ports.isEmpty() && !job);
}

QString SessionExportDialog::overviewText() const
{
    QStringList lines;
    bool dropped = false;
    qint64 capacity = 0;
    for (qsizetype i = 0; i < ports.size(); ++i) {
        if (!allPorts() && i != focused) {
            continue;
        }
        const Port &port = ports.at(i);
        if (!port.recorder) {
            continue;
        }
        const SessionRecorder::Stats stats = port.recorder->stats();
        dropped = dropped || stats.evictedEvents > 0;
        capacity = std::max(capacity, stats.capacity);
        if (stats.events == 0) {
            lines.append(tr("%1 holds no records yet.").arg(port.info.label));
            continue;
        }
        const QString since = QDateTime::fromMSecsSinceEpoch(stats.firstT / 1000)
                                  .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        lines.append(tr("%1 holds %n record(s) (%2) since %3.", nullptr, int(stats.events))
                         .arg(port.info.label, QLocale().formattedDataSize(stats.payloadBytes),
                              since));
    }
    if (dropped) {
        lines.append(tr("Older data was dropped: VLM keeps the most recent %1 per port.")
                         .arg(QLocale().formattedDataSize(capacity)));
    }
    return lines.join(u'\n');
}

QString SessionExportDialog::defaultFileName(const QDateTime &when) const
{
    static const QRegularExpression unsafe(QStringLiteral("[\\\\/:*?\"<>|\\s]"));
    QString name = allPorts() || ports.isEmpty() ? QString() : ports.at(focused).info.label.trimmed();
    name.remove(unsafe);
    return QStringLiteral("%1session-%2.%3")
        .arg(name.isEmpty() ? QString() : name + u'-',
             when.toString(QStringLiteral("yyyyMMdd-HHmmss")), formatSuffix(format()));
}

QList<SessionExport::Source> SessionExportDialog::sources() const
{
    QList<SessionExport::Source> list;
    for (qsizetype i = 0; i < ports.size(); ++i) {
        if ((!allPorts() && i != focused) || !ports.at(i).recorder) {
            continue;
        }
        const SessionRecorder &recorder = *ports.at(i).recorder;
        SessionExport::Source source;
        source.info = ports.at(i).info;
        const quint64 from = afterClearBox->isChecked() ? recorder.clearSeq() : 0;
        source.events = recorder.eventsAfter(from);
        source.info.omitted = recorder.countAfter(0) - source.events.size();
        source.info.dropped = recorder.stats().evictedEvents;
        list.append(source);
    }
    return list;
}

SessionExport::Options SessionExportDialog::options() const
{
    SessionExport::Options options;
    options.exportedAtUs = QDateTime::currentMSecsSinceEpoch() * 1000;
    options.appVersion = QCoreApplication::applicationVersion();
    options.textColumn = textColumnCombo->currentIndex();
    options.dataAs = dataAsCombo->currentIndex();
    for (qsizetype i = 0; i < ports.size(); ++i) {
        if ((allPorts() || i == focused) && ports.at(i).recorder &&
            ports.at(i).recorder->stats().evictedEvents > 0) {
            options.truncated = true;
        }
    }
    return options;
}

bool SessionExportDialog::startExport(const QString &path, QString *error)
{
    cancelExport();
    auto next = std::make_unique<Job>();
    next->path = path;
    next->file = std::make_unique<QSaveFile>(path);
    if (!next->file->open(QIODevice::WriteOnly)) {
        *error = tr("%1 could not be written: %2")
                     .arg(QDir::toNativeSeparators(path), next->file->errorString());
        return false;
    }
    const SessionExport::Format kind = format() == Format::Csv     ? SessionExport::Format::Csv
                                       : format() == Format::Jsonl ? SessionExport::Format::Jsonl
                                                                   : SessionExport::Format::Text;
    next->writer = std::make_unique<SessionExportWriter>(kind, next->file.get(), sources(), options());
    job = std::move(next);

    QSettings settings;
    settings.setValue(FormatKey, formatSuffix(format()));
    settings.setValue(ScopeKey, allPorts() ? QStringLiteral("all") : QStringLiteral("focused"));
    progress->setRange(0, int(std::min<qsizetype>(job->writer->rowsTotal(), INT_MAX)));
    progress->setValue(0);
    messageLabel->hide();
    updateForm();
    runSlice();
    return true;
}

bool SessionExportDialog::isExporting() const
{
    return bool(job);
}

void SessionExportDialog::runSlice()
{
    if (!job) {
        sliceTimer->stop();
        return;
    }
    QElapsedTimer clock;
    clock.start();
    SessionExportWriter &writer = *job->writer;
    while (!writer.atEnd() && clock.elapsed() < SliceMs) {
        writer.step(512);
    }
    if (writer.failed()) {
        finishExport(false, tr("%1 could not be written: %2")
                                .arg(QDir::toNativeSeparators(job->path), writer.errorString()));
        return;
    }
    if (writer.atEnd()) {
        if (!job->file->commit()) {
            finishExport(false, tr("%1 could not be written: %2")
                                    .arg(QDir::toNativeSeparators(job->path),
                                         job->file->errorString()));
            return;
        }
        finishExport(true, tr("Exported %n record(s) to %1.", nullptr, int(writer.rowsTotal()))
                               .arg(QDir::toNativeSeparators(job->path)));
        return;
    }
    // Still going: show how far, and give the event loop its turn.
    progress->show();
    progress->setValue(int(std::min<qsizetype>(writer.rowsDone(), INT_MAX)));
    sliceTimer->start();
}

void SessionExportDialog::finishExport(bool ok, const QString &message)
{
    sliceTimer->stop();
    if (job && !ok) {
        job->file->cancelWriting();
    }
    job.reset();
    progress->hide();
    messageLabel->setText(message);
    messageLabel->setVisible(!ok);
    updateForm();
    emit exportFinished(ok, message);
    if (ok) {
        QDialog::accept();
    }
}

void SessionExportDialog::cancelExport()
{
    if (!job) {
        return;
    }
    sliceTimer->stop();
    job->file->cancelWriting();
    job.reset();
    progress->hide();
    updateForm();
}

void SessionExportDialog::accept()
{
    if (job) {
        return;
    }
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Export Session"),
        QDir(ExportDialogs::lastDirectory()).filePath(defaultFileName(QDateTime::currentDateTime())),
        tr("%1 (*.%2);;All files (*)").arg(formatLabel(format()), formatSuffix(format())));
    if (path.isEmpty()) {
        return;
    }
    ExportDialogs::rememberDirectory(path);
    QString error;
    if (!startExport(path, &error)) {
        messageLabel->setText(error);
        messageLabel->show();
    }
}

void SessionExportDialog::reject()
{
    cancelExport();
    QDialog::reject();
}
