#include "automation/sequencereport.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QTimeZone>

#include <algorithm>

namespace {
constexpr int StepColumnMax = 48;

QString seconds(qint64 us, int decimals)
{
    return QString::number(double(us) / 1e6, 'f', decimals);
}

// The latest time a run is known to have reached.
qint64 lastTimeUs(const SequenceRunRecord &run)
{
    qint64 last = std::max(run.startUs, run.endUs);
    for (const SequenceStepRecord &step : run.steps) {
        last = std::max({last, step.startUs, step.endUs});
    }
    return last;
}

QString cell(const QString &text, int width)
{
    return text.leftJustified(width, QLatin1Char(' '), true);
}
} // namespace

QString SequenceReport::outcomeName(SequenceRunOutcome outcome)
{
    switch (outcome) {
    case SequenceRunOutcome::Running:
        return QStringLiteral("running");
    case SequenceRunOutcome::Passed:
        return QStringLiteral("passed");
    case SequenceRunOutcome::Failed:
        return QStringLiteral("failed");
    case SequenceRunOutcome::Stopped:
        return QStringLiteral("stopped");
    }
    return QString();
}

QByteArray SequenceReport::toJson(const QList<SequenceRunRecord> &runs)
{
    QJsonArray array;
    for (const SequenceRunRecord &run : runs) {
        QJsonArray steps;
        for (const SequenceStepRecord &step : run.steps) {
            steps.append(QJsonObject{
                {QStringLiteral("index"), step.index},
                {QStringLiteral("title"), step.title},
                {QStringLiteral("kind"),
                 step.isExpect ? QStringLiteral("expect") : QStringLiteral("step")},
                {QStringLiteral("startUs"), step.startUs},
                {QStringLiteral("endUs"), step.endUs},
                {QStringLiteral("ok"), step.ok},
                {QStringLiteral("detail"), step.detail},
            });
        }
        array.append(QJsonObject{
            {QStringLiteral("name"), run.name},
            {QStringLiteral("port"), run.port},
            {QStringLiteral("settings"), run.settings},
            {QStringLiteral("startUs"), run.startUs},
            {QStringLiteral("endUs"), run.endUs},
            {QStringLiteral("stepCount"), run.stepCount},
            {QStringLiteral("outcome"), outcomeName(run.outcome)},
            {QStringLiteral("failures"), run.failures},
            {QStringLiteral("failedStep"), run.failedStep},
            {QStringLiteral("reason"), run.reason},
            {QStringLiteral("steps"), steps},
            {QStringLiteral("unlistedSteps"), run.unlistedSteps},
        });
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

QString SequenceReport::toText(const QList<SequenceRunRecord> &runs, const QTimeZone &zone)
{
    QStringList parts;
    for (const SequenceRunRecord &run : runs) {
        QStringList lines;
        lines << tr("Sequence report: \"%1\"").arg(run.name);
        const QString port =
            run.settings.isEmpty() ? run.port : QStringLiteral("%1 (%2)").arg(run.port, run.settings);
        lines << tr("Port:") + QLatin1Char(' ') + port;
        const QDateTime started = QDateTime::fromMSecsSinceEpoch(run.startUs / 1000, zone);
        lines << tr("Started:") + QLatin1Char(' ') +
                     started.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
        const qint64 endUs =
            run.outcome == SequenceRunOutcome::Running ? lastTimeUs(run) : run.endUs;
        lines << tr("Duration:") + QLatin1Char(' ') +
                     tr("%1 s").arg(seconds(endUs - run.startUs, 3));

        QString result;
        switch (run.outcome) {
        case SequenceRunOutcome::Running:
            result = tr("RUNNING");
            break;
        case SequenceRunOutcome::Passed:
            result = tr("PASSED");
            break;
        case SequenceRunOutcome::Failed:
            result = tr("FAILED at step %1").arg(run.failedStep + 1);
            break;
        case SequenceRunOutcome::Stopped:
            result = tr("STOPPED at step %1").arg(run.failedStep + 1);
            break;
        }
        if (!run.reason.isEmpty()) {
            result = QStringLiteral("%1 (%2)").arg(result, run.reason);
        }
        lines << tr("Result:") + QLatin1Char(' ') + result;

        int passed = 0;
        int failed = 0;
        for (const SequenceStepRecord &step : run.steps) {
            if (step.isExpect && step.finished) {
                ++(step.ok ? passed : failed);
            }
        }
        lines << tr("Checks:") + QLatin1Char(' ') +
                     QStringLiteral("%1 %2, %3 %4").arg(passed).arg(tr("pass")).arg(failed).arg(
                         tr("failed"));
        lines << QString();

        // The table: the step column as wide as its longest entry, within a limit.
        QStringList stepCells;
        int stepWidth = int(tr("Step").size());
        for (const SequenceStepRecord &step : run.steps) {
            stepCells << QStringLiteral("%1 %2").arg(step.index + 1).arg(step.title);
            stepWidth = std::max(stepWidth, int(stepCells.last().size()));
        }
        stepWidth = std::min(stepWidth, StepColumnMax);
        constexpr int TimeWidth = 11;
        constexpr int ResultWidth = 7;
        const auto row = [&](const QString &start, const QString &took, const QString &stepText,
                             const QString &outcome, const QString &detail) {
            return (cell(start, TimeWidth) + cell(took, TimeWidth) + cell(stepText, stepWidth + 2) +
                    cell(outcome, ResultWidth) + detail)
                .trimmed();
        };
        lines << row(tr("Start"), tr("Took"), tr("Step"), tr("Result"), tr("Detail"));
        for (qsizetype i = 0; i < run.steps.size(); ++i) {
            const SequenceStepRecord &step = run.steps.at(i);
            const QString start = tr("%1 s").arg(seconds(step.startUs - run.startUs, 3));
            const QString took =
                step.finished ? tr("%1 s").arg(seconds(step.endUs - step.startUs, 3)) : QString();
            const QString outcome = step.finished ? (step.ok ? tr("pass") : tr("FAIL")) : QString();
            lines << row(start, took, stepCells.at(i), outcome, step.detail);
        }
        if (run.unlistedSteps > 0) {
            lines << tr("(%n more step execution(s) not listed)", nullptr, run.unlistedSteps);
        }
        parts << lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
    }
    return parts.join(QStringLiteral("\n----\n\n"));
}

bool SequenceReport::writeFile(const QString &path, const QList<SequenceRunRecord> &runs,
                               const QTimeZone &zone, QString *error)
{
    const bool json = path.endsWith(QStringLiteral(".json"), Qt::CaseInsensitive);
    const QByteArray content = json ? toJson(runs) : toText(runs, zone).toUtf8();
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() ||
        !file.commit()) {
        if (error) {
            *error = file.errorString();
        }
        return false;
    }
    return true;
}
