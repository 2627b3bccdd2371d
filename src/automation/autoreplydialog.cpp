#include "automation/autoreplydialog.h"

#include "automation/autoreplycodec.h"
#include "automation/autoreplyruledialog.h"
#include "connection/messagecodec.h"
#include "connection/wiretextcodecregistry.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

AutoReplyDialog::AutoReplyDialog(const QString &portName, const AutoReplyConfig &config,
                                 const AutoReplyEngine *live, QWidget *parent)
    : QDialog(parent),
      live(live),
      rxEncoding(live ? live->rxEncoding() : WireTextCodecRegistry::defaultEncoding()),
      txEncoding(live ? live->txEncoding() : WireTextCodecRegistry::defaultEncoding()),
      rules(config.rules)
{
    setWindowTitle(tr("Auto Reply — %1").arg(portName));
    setObjectName(QStringLiteral("AutoReplyDialog"));
    for (int i = 0; i < rules.size(); ++i) {
        liveIndex.append(live && i < live->ruleCount() ? i : -1);
    }

    auto *lead = new QLabel(tr("Let this port play the device: when received data matches a "
                               "rule, VLM sends the rule's reply. The first rule whose match "
                               "ends earliest wins."),
                            this);
    lead->setObjectName(QStringLiteral("leadLabel"));
    lead->setWordWrap(true);
    playDeadCheck =
        new QCheckBox(tr("Play dead: keep matching and counting, but send nothing"), this);
    playDeadCheck->setObjectName(QStringLiteral("playDeadCheck"));
    playDeadCheck->setChecked(config.playDead);
    showNotesCheck = new QCheckBox(tr("Note each match in the receive view"), this);
    showNotesCheck->setObjectName(QStringLiteral("showNotesCheck"));
    showNotesCheck->setChecked(config.showNotes);

    table = new QTableWidget(0, 6, this);
    table->setObjectName(QStringLiteral("ruleTable"));
    table->setHorizontalHeaderLabels(
        {tr("Name"), tr("Match"), tr("Pattern"), tr("Reply"), tr("Delay"), tr("Hits")});
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->verticalHeader()->setVisible(false);
    table->horizontalHeader()->setSectionResizeMode(PatternColumn, QHeaderView::Stretch);
    table->horizontalHeader()->setSectionResizeMode(ReplyColumn, QHeaderView::Stretch);

    const auto button = [this](const QString &text, const QString &name) {
        auto *pushButton = new QPushButton(text, this);
        pushButton->setObjectName(name);
        pushButton->setAutoDefault(false);
        return pushButton;
    };
    addButton = button(tr("Add..."), QStringLiteral("addButton"));
    editButton = button(tr("Edit..."), QStringLiteral("editButton"));
    duplicateButton = button(tr("Duplicate"), QStringLiteral("duplicateButton"));
    removeButton = button(tr("Remove"), QStringLiteral("removeButton"));
    upButton = button(tr("Move Up"), QStringLiteral("upButton"));
    downButton = button(tr("Move Down"), QStringLiteral("downButton"));
    auto *buttonColumn = new QVBoxLayout;
    for (QPushButton *pushButton :
         {addButton, editButton, duplicateButton, removeButton, upButton, downButton}) {
        buttonColumn->addWidget(pushButton);
    }
    buttonColumn->addStretch();
    auto *tableRow = new QHBoxLayout;
    tableRow->addWidget(table, 1);
    tableRow->addLayout(buttonColumn);

    auto *testGroup = new QGroupBox(tr("Try it"), this);
    testEdit = new QLineEdit(testGroup);
    testEdit->setObjectName(QStringLiteral("testEdit"));
    testEdit->setPlaceholderText(tr("Paste what the host would send, e.g. AT+VER?\\r\\n"));
    testHexCheck = new QCheckBox(tr("Hex"), testGroup);
    testHexCheck->setObjectName(QStringLiteral("testHexCheck"));
    testButton = new QPushButton(tr("Test"), testGroup);
    testButton->setObjectName(QStringLiteral("testButton"));
    testButton->setAutoDefault(false);
    testResult = new QPlainTextEdit(testGroup);
    testResult->setObjectName(QStringLiteral("testResult"));
    testResult->setReadOnly(true);
    testResult->setMaximumBlockCount(1000);
    auto *testLine = new QHBoxLayout;
    testLine->addWidget(testEdit, 1);
    testLine->addWidget(testHexCheck);
    testLine->addWidget(testButton);
    auto *testLayout = new QVBoxLayout(testGroup);
    testLayout->addLayout(testLine);
    testLayout->addWidget(testResult);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->setObjectName(QStringLiteral("buttonBox"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(lead);
    layout->addWidget(playDeadCheck);
    layout->addWidget(showNotesCheck);
    layout->addLayout(tableRow, 1);
    layout->addWidget(testGroup);
    layout->addWidget(buttons);
    resize(860, 560);

    connect(addButton, &QPushButton::clicked, this, &AutoReplyDialog::addRule);
    connect(editButton, &QPushButton::clicked, this, [this] { editRule(selectedRow()); });
    connect(duplicateButton, &QPushButton::clicked, this, &AutoReplyDialog::duplicateRule);
    connect(removeButton, &QPushButton::clicked, this, &AutoReplyDialog::removeRule);
    connect(upButton, &QPushButton::clicked, this, [this] { moveRule(-1); });
    connect(downButton, &QPushButton::clicked, this, [this] { moveRule(1); });
    connect(table, &QTableWidget::itemSelectionChanged, this, &AutoReplyDialog::updateButtons);
    connect(table, &QTableWidget::cellDoubleClicked, this, [this](int row) { editRule(row); });
    connect(table, &QTableWidget::itemChanged, this, &AutoReplyDialog::itemEdited);
    connect(testButton, &QPushButton::clicked, this, &AutoReplyDialog::runTest);
    connect(testEdit, &QLineEdit::returnPressed, this, &AutoReplyDialog::runTest);

    refreshTable();
}

AutoReplyConfig AutoReplyDialog::config() const
{
    AutoReplyConfig config;
    config.playDead = playDeadCheck->isChecked();
    config.showNotes = showNotesCheck->isChecked();
    config.rules = rules;
    return config;
}

void AutoReplyDialog::refreshTable()
{
    // The same compilation as the port's: a rule in error is flagged, never refused.
    AutoReplyEngine check;
    check.setConfig(config(), rxEncoding, txEncoding);

    pushing = true;
    const int selected = selectedRow();
    table->setRowCount(int(rules.size()));
    for (int row = 0; row < rules.size(); ++row) {
        const AutoReplyRule &rule = rules.at(row);
        const auto cell = [&](int column, const QString &text) {
            auto *item = new QTableWidgetItem(text);
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
            table->setItem(row, column, item);
            return item;
        };
        QTableWidgetItem *name = cell(NameColumn, rule.name);
        name->setFlags(name->flags() | Qt::ItemIsUserCheckable);
        name->setCheckState(rule.enabled ? Qt::Checked : Qt::Unchecked);
        cell(MatchColumn, AutoReplyEngine::matchName(rule.match));

        const QString error = check.ruleError(row);
        const QString pattern = rule.match == AutoReplyMatch::Hex
                                    ? tr("Hex: %1").arg(rule.pattern)
                                    : rule.pattern;
        QTableWidgetItem *patternItem =
            cell(PatternColumn, error.isEmpty() ? pattern : QStringLiteral("⚠ ") + error);
        patternItem->setToolTip(error.isEmpty() ? pattern : pattern + u'\n' + error);
        cell(ReplyColumn, rule.reply.isEmpty() ? tr("(silent)") : rule.reply);
        cell(DelayColumn, tr("%1 ms").arg(std::max(rule.delayMs, 0)));
        const int origin = liveIndex.value(row, -1);
        cell(HitsColumn, QString::number(live && origin >= 0 ? live->hits(origin) : 0));
    }
    pushing = false;
    selectRow(std::min(selected, int(rules.size()) - 1));
    updateButtons();
}

void AutoReplyDialog::itemEdited(QTableWidgetItem *item)
{
    if (pushing || item->column() != NameColumn || item->row() >= rules.size()) {
        return;
    }
    rules[item->row()].enabled = item->checkState() == Qt::Checked;
}

int AutoReplyDialog::selectedRow() const
{
    const QList<QTableWidgetItem *> selected = table->selectedItems();
    return selected.isEmpty() ? -1 : selected.first()->row();
}

void AutoReplyDialog::selectRow(int row)
{
    if (row >= 0 && row < table->rowCount()) {
        table->selectRow(row);
    } else {
        table->clearSelection();
    }
}

void AutoReplyDialog::updateButtons()
{
    const int row = selectedRow();
    const bool room = rules.size() < AutoReplyCodec::MaxRules;
    addButton->setEnabled(room);
    editButton->setEnabled(row >= 0);
    duplicateButton->setEnabled(row >= 0 && room);
    removeButton->setEnabled(row >= 0);
    upButton->setEnabled(row > 0);
    downButton->setEnabled(row >= 0 && row + 1 < rules.size());
}

void AutoReplyDialog::editRule(int row)
{
    if (row < 0 || row >= rules.size()) {
        return;
    }
    // Window-modal, so the list cannot change under the open rule dialog.
    auto *dialog = new AutoReplyRuleDialog(rules.at(row), rxEncoding, txEncoding, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog, row] {
        rules[row] = dialog->rule();
        refreshTable();
        selectRow(row);
    });
    dialog->open();
}

void AutoReplyDialog::addRule()
{
    if (rules.size() >= AutoReplyCodec::MaxRules) {
        return;
    }
    auto *dialog = new AutoReplyRuleDialog(AutoReplyRule(), rxEncoding, txEncoding, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        rules.append(dialog->rule());
        liveIndex.append(-1);
        refreshTable();
        selectRow(int(rules.size()) - 1);
    });
    dialog->open();
}

void AutoReplyDialog::duplicateRule()
{
    const int row = selectedRow();
    if (row < 0 || rules.size() >= AutoReplyCodec::MaxRules) {
        return;
    }
    rules.insert(row + 1, rules.at(row));
    liveIndex.insert(row + 1, -1);
    refreshTable();
    selectRow(row + 1);
}

void AutoReplyDialog::removeRule()
{
    const int row = selectedRow();
    if (row < 0) {
        return;
    }
    rules.removeAt(row);
    liveIndex.removeAt(row);
    refreshTable();
}

void AutoReplyDialog::moveRule(int step)
{
    const int row = selectedRow();
    const int target = row + step;
    if (row < 0 || target < 0 || target >= rules.size()) {
        return;
    }
    rules.swapItemsAt(row, target);
    liveIndex.swapItemsAt(row, target);
    refreshTable();
    selectRow(target);
}

QString AutoReplyDialog::ruleLabel(int index) const
{
    const QString name = rules.value(index).name;
    return name.isEmpty() ? tr("Rule %1").arg(index + 1) : QStringLiteral("\"%1\"").arg(name);
}

void AutoReplyDialog::runTest()
{
    // The input is read as a rule's pattern would be: text with escapes in the port's
    // received-data encoding, or hex.
    QByteArray input;
    QString error;
    if (testHexCheck->isChecked()) {
        QList<int> values;
        if (!AutoReplyEngine::parseHex(testEdit->text(), false, values, error)) {
            testResult->setPlainText(error);
            return;
        }
        for (const int value : std::as_const(values)) {
            input.append(char(value));
        }
    } else if (!AutoReplyEngine::encodeEscapedText(testEdit->text(), rxEncoding, input, error)) {
        testResult->setPlainText(error);
        return;
    }

    // A private engine with the rules as they stand here, which never drops.
    AutoReplyEngine engine;
    engine.setConfig(config(), rxEncoding, txEncoding);
    engine.setRandomSource([] { return 100; });
    if (engine.activeRuleCount() == 0) {
        testResult->setPlainText(tr("No enabled rule is valid."));
        return;
    }
    const QList<AutoReplyHit> hits = engine.feed(input, QString(), 0);
    if (hits.isEmpty()) {
        testResult->setPlainText(tr("No rule matches."));
        return;
    }
    QStringList lines;
    for (const AutoReplyHit &hit : hits) {
        const AutoReplyRule &rule = rules.at(hit.rule);
        const QString label = ruleLabel(hit.rule);
        switch (hit.outcome) {
        case AutoReplyOutcome::Send: {
            const QString reply = rule.replyFormat == 1
                                      ? MessageCodec::toHexString(hit.reply).trimmed()
                                      : describeBytes(hit.reply);
            lines << (rule.delayMs > 0
                          ? tr("%1 replies after %2 ms: %3").arg(label).arg(rule.delayMs).arg(reply)
                          : tr("%1 replies: %2").arg(label, reply));
            break;
        }
        case AutoReplyOutcome::EmptyReply:
            lines << tr("%1 matches and stays silent.").arg(label);
            break;
        case AutoReplyOutcome::PlayingDead:
            lines << tr("%1 matches; playing dead, nothing is sent.").arg(label);
            break;
        case AutoReplyOutcome::NotNth:
            lines << tr("%1 matches; it answers one match in %2, not this one.")
                         .arg(label)
                         .arg(rule.everyN);
            break;
        case AutoReplyOutcome::Dropped:
            // Not reached: the test's random source never drops.
            lines << QStringLiteral("%1: %2").arg(label, AutoReplyEngine::outcomeWord(hit.outcome));
            break;
        }
    }
    testResult->setPlainText(lines.join(u'\n'));
}

QString AutoReplyDialog::describeBytes(const QByteArray &bytes)
{
    QString text;
    for (const char byte : bytes) {
        const uchar value = uchar(byte);
        switch (value) {
        case '\r':
            text += QStringLiteral("\\r");
            break;
        case '\n':
            text += QStringLiteral("\\n");
            break;
        case '\t':
            text += QStringLiteral("\\t");
            break;
        case '\\':
            text += QStringLiteral("\\\\");
            break;
        default:
            if (value >= 0x20 && value < 0x7F) {
                text += QChar(char16_t(value));
            } else {
                text += QStringLiteral("\\x") +
                        QStringLiteral("%1").arg(value, 2, 16, QLatin1Char('0')).toUpper();
            }
            break;
        }
    }
    return text;
}
