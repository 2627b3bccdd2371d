// Automation on a port panel: the auto reply runner that answers like a device, and
// the sequence runner that sends, waits and checks.

#include "session/serialportwidget.h"

#include "automation/autoreplyengine.h"
#include "automation/autoreplyrunner.h"
#include "automation/commandlibrarytext.h"
#include "automation/sequencebar.h"
#include "automation/sequencerunner.h"
#include "connection/connectioncontroller.h"
#include "scripting/scriptengine.h"
#include "session/receiverenderer.h"
#include "session/ui_serialportwidget.h"

#include <QToolButton>

namespace {
QColor noteColor()
{
    return QColor(0x80, 0x80, 0x80);
}

QString ruleTitle(const AutoReplyConfig &config, int rule)
{
    const QString name =
        rule >= 0 && rule < config.rules.size() ? config.rules.at(rule).name : QString();
    return name.isEmpty() ? SerialPortWidget::tr("rule %1").arg(rule + 1)
                          : QStringLiteral("\"%1\"").arg(name);
}
} // namespace

void SerialPortWidget::setupAutomation()
{
    autoReplyRunner->setEncodings(format.receiveEncoding, format.sendEncoding);
    connect(
        autoReplyRunner, &AutoReplyRunner::replied, this,
        [this](int rule, const QString &source, int bytes) {
            if (!autoReplyRunner->config().showNotes) {
                return;
            }
            const QString who = ruleTitle(autoReplyRunner->config(), rule);
            noteAutoReply(
                source.isEmpty()
                    ? tr("Auto reply %1: %n byte(s) sent", nullptr, bytes).arg(who)
                    : tr("Auto reply %1: %n byte(s) sent to %2", nullptr, bytes).arg(who, source));
        });
    connect(autoReplyRunner, &AutoReplyRunner::silent, this,
            [this](int rule, AutoReplyOutcome outcome) {
                if (autoReplyRunner->config().showNotes) {
                    noteAutoReply(tr("Auto reply %1: matched, no reply (%2)")
                                      .arg(ruleTitle(autoReplyRunner->config(), rule),
                                           AutoReplyEngine::outcomeWord(outcome)));
                }
            });
    connect(autoReplyRunner, &AutoReplyRunner::stateChanged, this,
            &SerialPortWidget::refreshAutoReplyBadge);

    connect(sequenceRunner, &SequenceRunner::started, this,
            [this] { noteSequence(sequenceRunner->startedNote()); });
    connect(sequenceRunner, &SequenceRunner::finished, this,
            [this] { noteSequence(sequenceRunner->finishedNote()); });
    connect(sequenceRunner, &SequenceRunner::stateChanged, this,
            &SerialPortWidget::sequenceStateChanged);
    ui->sequenceBar->setRunner(sequenceRunner);
    connect(ui->sequenceBar, &SequenceBar::stopRequested, this, [this] {
        sequenceRunner->stop(SequenceRunner::stopReasonText(SequenceRunner::StopReason::User));
    });
    connect(ui->autoReplyBadge, &QToolButton::clicked, this,
            &SerialPortWidget::autoReplyEditRequested);

    // The runners see received bytes after the panel's own consumers (the plot).
    portSession->connectRunners();
    refreshAutoReplyBadge();
}

void SerialPortWidget::setAutoReplyConfig(const AutoReplyConfig &config)
{
    autoReplyRunner->setEncodings(format.receiveEncoding, format.sendEncoding);
    autoReplyRunner->setConfig(config);
    refreshAutoReplyBadge();
}

AutoReplyConfig SerialPortWidget::autoReplyConfig() const
{
    return autoReplyRunner->config();
}

const AutoReplyEngine &SerialPortWidget::autoReplyEngine() const
{
    return autoReplyRunner->engine();
}

void SerialPortWidget::refreshAutoReplyBadge()
{
    const int rules = autoReplyRunner->engine().enabledRuleCount();
    const bool playDead = autoReplyRunner->config().playDead;
    ui->autoReplyBadge->setVisible(rules > 0);
    QStringList parts = {tr("Auto reply"), tr("%n rule(s)", nullptr, rules),
                         tr("%n reply(s)", nullptr, autoReplyRunner->repliesSent())};
    if (playDead) {
        parts << tr("playing dead");
    }
    ui->autoReplyBadge->setText(parts.join(QStringLiteral(" · ")));
    ui->autoReplyBadge->setToolTip(
        tr("This port answers matching data by itself. Click to edit the rules."));
}

bool SerialPortWidget::sendAutoReply(const QByteArray &bytes, const QString &peer)
{
    return portSession->sendAutoReply(bytes, peer);
}

bool SerialPortWidget::sendSequenceBytes(const QByteArray &bytes)
{
    return portSession->sendSequenceBytes(bytes);
}

bool SerialPortWidget::sendCommand(const Command &command, QString *error)
{
    QString why;
    if (!mayDisturbPort(TxActor::User, DisturbData, &why)) {
        if (error) {
            *error = why;
        }
        return false;
    }
    pullFormatFromWidgets();
    const EncodeSendResult encoded = CommandLibraryText::encode(command, format);
    if (!encoded.ok) {
        if (error) {
            *error = encoded.error;
        }
        return false;
    }
    if (encoded.bytes.isEmpty()) {
        return true;
    }
    if (!ensurePortOpenForSend(error)) {
        return false;
    }
    if (!sendMessage(encoded.bytes)) {
        if (error) {
            *error = tr("The port did not take the command.");
        }
        return false;
    }
    if (format.displaySendMsg) {
        pushByteArray(encoded.bytes, false, Sent, QString());
        displayPortBuffer();
    }
    return true;
}

bool SerialPortWidget::startSequence(const Sequence &sequence, QString *error)
{
    if (!ensurePortOpenForSend(error)) {
        return false;
    }
    return portSession->startSequence(sequence, error);
}

void SerialPortWidget::stopSequence(int reason)
{
    portSession->stopSequence(reason);
}

ScriptPortInfo SerialPortWidget::scriptPortInfo() const
{
    return portSession->scriptPortInfo();
}

void SerialPortWidget::stopRuns(int reason)
{
    portSession->stopRuns(reason);
}

bool SerialPortWidget::sequenceRunning() const
{
    return portSession->sequenceRunning();
}

void SerialPortWidget::noteAutoReply(const QString &text)
{
    noteSession(text);
    displayPortBuffer();
    renderer->appendSystemLine(text, noteColor());
}

void SerialPortWidget::noteSequence(const QString &text)
{
    noteSession(text);
    displayPortBuffer();
    renderer->appendSystemLine(text, noteColor());
}
