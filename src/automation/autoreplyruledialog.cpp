#include "automation/autoreplyruledialog.h"

#include "connection/messagecodec.h"
#include "tools/crccatalog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

constexpr auto ProblemStyle = "color: #c0392b;";

QLabel *hintLabel(const QString &text, const QString &objectName, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(objectName);
    label->setWordWrap(true);
    label->setEnabled(false); // drawn in the muted colour of hints
    return label;
}

} // namespace

AutoReplyRuleDialog::AutoReplyRuleDialog(const AutoReplyRule &rule, const QString &rxEncoding,
                                         const QString &txEncoding, QWidget *parent)
    : QDialog(parent), rxEncoding(rxEncoding), txEncoding(txEncoding), original(rule)
{
    setWindowTitle(tr("Auto Reply Rule"));
    setObjectName(QStringLiteral("AutoReplyRuleDialog"));

    auto *whenGroup = new QGroupBox(tr("When this port receives"), this);
    auto *whenForm = new QFormLayout(whenGroup);
    nameEdit = new QLineEdit(whenGroup);
    nameEdit->setObjectName(QStringLiteral("nameEdit"));
    nameEdit->setPlaceholderText(tr("Optional, e.g. Version query"));
    whenForm->addRow(tr("Name:"), nameEdit);
    matchCombo = new QComboBox(whenGroup);
    matchCombo->setObjectName(QStringLiteral("matchCombo"));
    for (const AutoReplyMatch match : {AutoReplyMatch::Text, AutoReplyMatch::Hex,
                                       AutoReplyMatch::Wildcard, AutoReplyMatch::Regex}) {
        matchCombo->addItem(AutoReplyEngine::matchName(match), int(match));
    }
    whenForm->addRow(tr("Match:"), matchCombo);
    patternEdit = new QLineEdit(whenGroup);
    patternEdit->setObjectName(QStringLiteral("patternEdit"));
    whenForm->addRow(tr("Pattern:"), patternEdit);
    patternHint = hintLabel(QString(), QStringLiteral("patternHint"), whenGroup);
    whenForm->addRow(QString(), patternHint);
    patternPreview = new QLabel(whenGroup);
    patternPreview->setObjectName(QStringLiteral("patternPreview"));
    patternPreview->setTextFormat(Qt::PlainText);
    patternPreview->setWordWrap(true);
    patternPreview->setTextInteractionFlags(Qt::TextSelectableByMouse);
    whenForm->addRow(QString(), patternPreview);

    auto *replyGroup = new QGroupBox(tr("Reply with"), this);
    auto *replyForm = new QFormLayout(replyGroup);
    replyFormatCombo = new QComboBox(replyGroup);
    replyFormatCombo->setObjectName(QStringLiteral("replyFormatCombo"));
    replyFormatCombo->addItem(tr("Text"), 0);
    replyFormatCombo->addItem(tr("Hex"), 1);
    replyForm->addRow(tr("Format:"), replyFormatCombo);
    replyEdit = new QLineEdit(replyGroup);
    replyEdit->setObjectName(QStringLiteral("replyEdit"));
    replyEdit->setPlaceholderText(tr("Leave empty to stay silent on a match"));
    replyForm->addRow(tr("Reply:"), replyEdit);
    replyPreview = new QLabel(replyGroup);
    replyPreview->setObjectName(QStringLiteral("replyPreview"));
    replyPreview->setTextFormat(Qt::PlainText);
    replyPreview->setWordWrap(true);
    replyPreview->setTextInteractionFlags(Qt::TextSelectableByMouse);
    replyForm->addRow(QString(), replyPreview);
    checksumCombo = new QComboBox(replyGroup);
    checksumCombo->setObjectName(QStringLiteral("checksumCombo"));
    checksumCombo->addItems(CrcCatalog::sendChecksumLabels());
    replyForm->addRow(tr("Append checksum:"), checksumCombo);
    delaySpin = new QSpinBox(replyGroup);
    delaySpin->setObjectName(QStringLiteral("delaySpin"));
    delaySpin->setRange(0, AutoReplyEngine::MaxDelayMs);
    delaySpin->setSuffix(tr(" ms"));
    replyForm->addRow(tr("Delay:"), delaySpin);

    auto *unreliableGroup = new QGroupBox(tr("Simulate an unreliable device"), this);
    auto *unreliableForm = new QFormLayout(unreliableGroup);
    everyNSpin = new QSpinBox(unreliableGroup);
    everyNSpin->setObjectName(QStringLiteral("everyNSpin"));
    everyNSpin->setRange(1, 1000);
    everyNSpin->setSpecialValueText(tr("Every match"));
    everyNSpin->setPrefix(tr("1 in "));
    everyNSpin->setSuffix(tr(" matches"));
    unreliableForm->addRow(tr("Reply to:"), everyNSpin);
    unreliableForm->addRow(QString(),
                           hintLabel(tr("3 = stay silent twice, answer the third time; tests a "
                                        "host's retries."),
                                     QStringLiteral("everyNHint"), unreliableGroup));
    dropSpin = new QSpinBox(unreliableGroup);
    dropSpin->setObjectName(QStringLiteral("dropSpin"));
    dropSpin->setRange(0, 100);
    dropSpin->setSuffix(tr(" %"));
    unreliableForm->addRow(tr("Drop replies at random:"), dropSpin);
    maxHitsSpin = new QSpinBox(unreliableGroup);
    maxHitsSpin->setObjectName(QStringLiteral("maxHitsSpin"));
    maxHitsSpin->setRange(0, 1000000);
    maxHitsSpin->setSpecialValueText(tr("No limit"));
    maxHitsSpin->setSuffix(tr(" match(es)"));
    unreliableForm->addRow(tr("Stop after:"), maxHitsSpin);
    unreliableForm->addRow(QString(),
                           hintLabel(tr("After this many matches the rule stops matching, and "
                                        "the rules below it take over."),
                                     QStringLiteral("maxHitsHint"), unreliableGroup));

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->setObjectName(QStringLiteral("buttonBox"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(whenGroup);
    layout->addWidget(replyGroup);
    layout->addWidget(unreliableGroup);
    layout->addWidget(buttons);

    pushRule(rule);

    const auto edited = [this] {
        if (!pushing) {
            refresh();
        }
    };
    connect(matchCombo, &QComboBox::currentIndexChanged, this, edited);
    connect(patternEdit, &QLineEdit::textChanged, this, edited);
    connect(replyFormatCombo, &QComboBox::currentIndexChanged, this, edited);
    connect(replyEdit, &QLineEdit::textChanged, this, edited);
    connect(checksumCombo, &QComboBox::currentIndexChanged, this, edited);
}

AutoReplyRule AutoReplyRuleDialog::rule() const
{
    AutoReplyRule rule = original;
    rule.name = nameEdit->text();
    rule.match = AutoReplyMatch(matchCombo->currentData().toInt());
    rule.pattern = patternEdit->text();
    rule.replyFormat = replyFormatCombo->currentData().toInt();
    rule.reply = replyEdit->text();
    rule.checksum = checksumCombo->currentIndex();
    rule.delayMs = delaySpin->value();
    rule.everyN = everyNSpin->value();
    rule.dropPercent = dropSpin->value();
    rule.maxHits = maxHitsSpin->value();
    return rule;
}

void AutoReplyRuleDialog::pushRule(const AutoReplyRule &rule)
{
    pushing = true;
    nameEdit->setText(rule.name);
    matchCombo->setCurrentIndex(std::max(0, matchCombo->findData(int(rule.match))));
    patternEdit->setText(rule.pattern);
    replyFormatCombo->setCurrentIndex(rule.replyFormat == 1 ? 1 : 0);
    replyEdit->setText(rule.reply);
    checksumCombo->setCurrentIndex(std::clamp(rule.checksum, 0, checksumCombo->count() - 1));
    delaySpin->setValue(rule.delayMs);
    everyNSpin->setValue(rule.everyN);
    dropSpin->setValue(rule.dropPercent);
    maxHitsSpin->setValue(rule.maxHits);
    pushing = false;
    refresh();
}

void AutoReplyRuleDialog::refresh()
{
    const AutoReplyRule current = rule();
    switch (current.match) {
    case AutoReplyMatch::Hex:
        patternHint->setText(tr("Bytes in hex, e.g. 01 03 ?? ?? 00 02. ?? matches any byte."));
        break;
    case AutoReplyMatch::Wildcard:
        patternHint->setText(tr("Text where * matches any run of bytes and ? exactly one. Use "
                                "\\x2A for a literal *."));
        break;
    case AutoReplyMatch::Regex:
        patternHint->setText(
            tr("A Perl-compatible regular expression, run over the received bytes."));
        break;
    case AutoReplyMatch::Text:
    default:
        patternHint->setText(tr("Exact text. \\r \\n \\t and \\xHH stand for the bytes they name."));
        break;
    }

    QRegularExpression regex;
    QString error;
    if (!AutoReplyEngine::compilePattern(current, rxEncoding, regex, error)) {
        showProblem(patternPreview, error);
    } else {
        QList<int> units;
        QString ignored;
        const QString matched = AutoReplyEngine::patternUnits(current, rxEncoding, units, ignored)
                                    ? describeUnits(units)
                                    : current.pattern;
        showFine(patternPreview, tr("Valid.") + u' ' + tr("Matches the bytes %1").arg(matched));
    }

    QByteArray reply;
    if (!AutoReplyEngine::encodeReply(current, txEncoding, reply, error)) {
        showProblem(replyPreview, error);
    } else if (reply.isEmpty()) {
        showFine(replyPreview, tr("Nothing is sent: a match is swallowed, and the rules below "
                                  "it do not see those bytes."));
    } else {
        showFine(replyPreview,
                 tr("Valid.") + u' ' +
                     tr("Sends %n byte(s): %1", nullptr, int(reply.size()))
                         .arg(MessageCodec::toHexString(reply).trimmed()));
    }
}

void AutoReplyRuleDialog::showProblem(QLabel *label, const QString &text)
{
    label->setStyleSheet(QString::fromLatin1(ProblemStyle));
    label->setText(text);
}

void AutoReplyRuleDialog::showFine(QLabel *label, const QString &text)
{
    label->setStyleSheet(QString());
    label->setText(text);
}

QString AutoReplyRuleDialog::describeUnits(const QList<int> &units)
{
    QStringList parts;
    parts.reserve(units.size());
    for (const int unit : units) {
        if (unit == AutoReplyMatcher::AnyByte) {
            parts << QStringLiteral("??");
        } else if (unit == AutoReplyMatcher::AnyRun) {
            parts << QStringLiteral("*");
        } else {
            parts << QStringLiteral("%1").arg(unit, 2, 16, QLatin1Char('0')).toUpper();
        }
    }
    return parts.join(u' ');
}
