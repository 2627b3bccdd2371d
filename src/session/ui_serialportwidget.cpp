#include "session/ui_serialportwidget.h"

#include "app/connectionsettingswidget.h"
#include "session/controllineledrow.h"
#include "session/wiretextcodecregistry.h"
#include "tools/crccatalog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QSplitter>
#include <QStatusBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
QString tr(const char *text)
{
    return QCoreApplication::translate("SerialPortWidget", text);
}
} // namespace

namespace {
QComboBox *encodingCombo(QWidget *parent, const QString &name)
{
    auto *combo = new QComboBox(parent);
    combo->setObjectName(name);
    combo->addItems(WireTextCodecRegistry::supportedEncodings());
    return combo;
}

QComboBox *lineEndingCombo(QWidget *parent, const QString &name, bool withNone)
{
    auto *combo = new QComboBox(parent);
    combo->setObjectName(name);
    if (withNone) {
        combo->addItem(tr("None"), 0);
    }
    combo->addItem(QStringLiteral("CR"), 1);
    combo->addItem(QStringLiteral("LF"), 2);
    combo->addItem(QStringLiteral("CR LF"), 3);
    combo->addItem(QStringLiteral("LF CR"), 4);
    return combo;
}

QCheckBox *checkBox(QWidget *parent, const QString &name, const char *text, const char *tip)
{
    auto *box = new QCheckBox(tr(text), parent);
    box->setObjectName(name);
    box->setToolTip(tr(tip));
    return box;
}
} // namespace

void Ui_SerialPortWidget::setupReceiveGroup(QWidget *parent)
{
    receiveGroup = new QGroupBox(tr("Receive Settings"), parent);
    receiveGroup->setObjectName(QStringLiteral("receiveGroup"));
    receiveGroup->setToolTip(tr("How received data is shown"));
    auto *form = new QFormLayout(receiveGroup);
    auto *formatRow = new QHBoxLayout;
    textReceiveRadio = new QRadioButton(tr("Text"), receiveGroup);
    textReceiveRadio->setObjectName(QStringLiteral("textReceiveRadio"));
    hexReceiveRadio = new QRadioButton(tr("Hex"), receiveGroup);
    hexReceiveRadio->setObjectName(QStringLiteral("hexReceiveRadio"));
    auto *group = new QButtonGroup(receiveGroup);
    group->addButton(textReceiveRadio);
    group->addButton(hexReceiveRadio);
    receiveEncodingCombo = encodingCombo(receiveGroup, QStringLiteral("receiveEncodingCombo"));
    formatRow->addWidget(textReceiveRadio);
    formatRow->addWidget(hexReceiveRadio);
    formatRow->addWidget(receiveEncodingCombo, 1);
    form->addRow(tr("Format"), formatRow);
    form->labelForField(formatRow)->setToolTip(
        tr("Show received data as text or hex, and the encoding to read it with"));

    auto *feedRow = new QHBoxLayout;
    rxAutoFeedBox = checkBox(receiveGroup, QStringLiteral("rxAutoFeedBox"), "Auto Line Feed",
                             "Start a new line after an idle interval");
    autoFeedIntervalSpin = new QSpinBox(receiveGroup);
    autoFeedIntervalSpin->setObjectName(QStringLiteral("autoFeedIntervalSpin"));
    autoFeedIntervalSpin->setRange(1, 3600000);
    autoFeedIntervalSpin->setSuffix(tr(" ms"));
    feedRow->addWidget(rxAutoFeedBox);
    feedRow->addWidget(autoFeedIntervalSpin, 1);
    form->addRow(feedRow);
    displayTimeBox = checkBox(receiveGroup, QStringLiteral("displayTimeBox"), "Display Time",
                              "Prefix received data with a timestamp");
    form->addRow(displayTimeBox);
    auto *logRow = new QHBoxLayout;
    logSaveBox = checkBox(receiveGroup, QStringLiteral("logSaveBox"), "Log to File",
                          "Write what the port shows to a log file");
    logPathButton = new QToolButton(receiveGroup);
    logPathButton->setObjectName(QStringLiteral("logPathButton"));
    logPathButton->setText(QStringLiteral("…"));
    logPathButton->setToolTip(tr("Choose the log file"));
    logRow->addWidget(logSaveBox);
    logRow->addWidget(logPathButton);
    logRow->addStretch(1);
    form->addRow(logRow);
}

void Ui_SerialPortWidget::setupSendGroup(QWidget *parent)
{
    sendGroup = new QGroupBox(tr("Send Settings"), parent);
    sendGroup->setObjectName(QStringLiteral("sendGroup"));
    sendGroup->setToolTip(tr("How data is sent"));
    auto *form = new QFormLayout(sendGroup);
    auto *formatRow = new QHBoxLayout;
    textSendRadio = new QRadioButton(tr("Text"), sendGroup);
    textSendRadio->setObjectName(QStringLiteral("textSendRadio"));
    hexSendRadio = new QRadioButton(tr("Hex"), sendGroup);
    hexSendRadio->setObjectName(QStringLiteral("hexSendRadio"));
    auto *group = new QButtonGroup(sendGroup);
    group->addButton(textSendRadio);
    group->addButton(hexSendRadio);
    sendEncodingCombo = encodingCombo(sendGroup, QStringLiteral("sendEncodingCombo"));
    formatRow->addWidget(textSendRadio);
    formatRow->addWidget(hexSendRadio);
    formatRow->addWidget(sendEncodingCombo, 1);
    form->addRow(tr("Format"), formatRow);

    auto *loopRow = new QHBoxLayout;
    autoSendBox = checkBox(sendGroup, QStringLiteral("autoSendBox"), "Loop Send",
                           "Resend automatically at an interval");
    sendIntervelSB = new QSpinBox(sendGroup);
    sendIntervelSB->setObjectName(QStringLiteral("sendIntervelSB"));
    sendIntervelSB->setRange(1, 1000000);
    sendIntervelSB->setSuffix(tr(" ms"));
    loopRow->addWidget(autoSendBox);
    loopRow->addWidget(sendIntervelSB, 1);
    form->addRow(loopRow);

    txLineEndingCombo = lineEndingCombo(sendGroup, QStringLiteral("txLineEndingCombo"), true);
    txLineEndingCombo->setToolTip(tr("Ending appended to each send"));
    form->addRow(tr("Append Line Ending"), txLineEndingCombo);
    terminalEnterCombo = lineEndingCombo(sendGroup, QStringLiteral("terminalEnterCombo"), false);
    terminalEnterCombo->setToolTip(tr("Bytes sent when Enter is pressed in the receive terminal"));
    form->addRow(tr("Enter Sends"), terminalEnterCombo);
    checksumCombo = new QComboBox(sendGroup);
    checksumCombo->setObjectName(QStringLiteral("checksumCombo"));
    checksumCombo->setToolTip(tr("Checksum appended to each send"));
    const QStringList checksums = CrcCatalog::sendChecksumLabels();
    for (int mode = 0; mode < checksums.size(); ++mode) {
        checksumCombo->addItem(checksums.at(mode), mode);
    }
    form->addRow(tr("Append Checksum"), checksumCombo);

    auto *boxes = new QGridLayout;
    sendEscapesBox = checkBox(sendGroup, QStringLiteral("sendEscapesBox"), "Escapes",
                              "Expand \\n, \\r, \\t, \\xHH and other backslash escapes in text");
    formatSendBox = checkBox(sendGroup, QStringLiteral("formatSendBox"), "Format Hex",
                             "Rewrite hex input as spaced upper-case pairs after sending");
    displaySendBox = checkBox(sendGroup, QStringLiteral("displaySendBox"), "Display Send",
                              "Echo sent data in the display");
    localEchoBox = checkBox(sendGroup, QStringLiteral("localEchoBox"), "Local Echo",
                            "Echo keys typed into the receive terminal");
    cbLinebyLine = checkBox(sendGroup, QStringLiteral("cbLinebyLine"), "Line by Line",
                            "Send multi-line input line by line");
    boxes->addWidget(sendEscapesBox, 0, 0);
    boxes->addWidget(formatSendBox, 0, 1);
    boxes->addWidget(displaySendBox, 1, 0);
    boxes->addWidget(localEchoBox, 1, 1);
    boxes->addWidget(cbLinebyLine, 2, 0);
    form->addRow(boxes);
}

void Ui_SerialPortWidget::setupUi(QMainWindow *window)
{
    splitter = new QSplitter(Qt::Horizontal, window);
    splitter->setObjectName(QStringLiteral("splitter"));
    splitter->setChildrenCollapsible(false);

    auto *settingsColumn = new QWidget(splitter);
    auto *settingsLayout = new QVBoxLayout(settingsColumn);
    settingsLayout->setContentsMargins(4, 4, 4, 4);
    connectionSettings = new ConnectionSettingsWidget(settingsColumn);
    connectionSettings->setObjectName(QStringLiteral("connectionSettings"));
    settingsLayout->addWidget(connectionSettings);
    auto *buttons = new QHBoxLayout;
    openButton = new QPushButton(tr("Open"), settingsColumn);
    openButton->setObjectName(QStringLiteral("openButton"));
    pauseButton = new QPushButton(tr("Pause"), settingsColumn);
    pauseButton->setObjectName(QStringLiteral("pauseButton"));
    clearButton = new QPushButton(tr("Clear"), settingsColumn);
    clearButton->setObjectName(QStringLiteral("clearButton"));
    buttons->addWidget(openButton);
    buttons->addWidget(pauseButton);
    buttons->addWidget(clearButton);
    settingsLayout->addLayout(buttons);
    setupReceiveGroup(settingsColumn);
    settingsLayout->addWidget(receiveGroup);
    setupSendGroup(settingsColumn);
    settingsLayout->addWidget(sendGroup);
    settingsLayout->addStretch(1);

    auto *dataSplitter = new QSplitter(Qt::Vertical, splitter);
    auto *receiveArea = new QWidget(dataSplitter);
    auto *receiveLayout = new QVBoxLayout(receiveArea);
    receiveLayout->setContentsMargins(0, 0, 0, 0);
    receiveLayout->setSpacing(2);
    receiveBrowser = new QPlainTextEdit(receiveArea);
    receiveLayout->addWidget(receiveBrowser, 1);
    ledRow = new ControlLineLedRow(receiveArea);
    ledRow->setObjectName(QStringLiteral("ledRow"));
    receiveLayout->addWidget(ledRow);
    receiveBrowser->setObjectName(QStringLiteral("receiveBrowser"));
    receiveBrowser->setUndoRedoEnabled(false);
    receiveBrowser->setReadOnly(true);
    receiveBrowser->setTextInteractionFlags(Qt::TextSelectableByMouse |
                                            Qt::TextSelectableByKeyboard);
    receiveBrowser->setLineWrapMode(QPlainTextEdit::WidgetWidth);

    auto *sendArea = new QWidget(dataSplitter);
    auto *sendLayout = new QVBoxLayout(sendArea);
    sendLayout->setContentsMargins(0, 0, 0, 0);
    auto *peerRow = new QHBoxLayout;
    peerLabel = new QLabel(tr("Send to"), sendArea);
    peerCombo = new QComboBox(sendArea);
    peerCombo->setObjectName(QStringLiteral("peerCombo"));
    peerCombo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    peerRow->addWidget(peerLabel);
    peerRow->addWidget(peerCombo, 1);
    sendLayout->addLayout(peerRow);
    sendBox = new QComboBox(sendArea);
    sendBox->setObjectName(QStringLiteral("sendBox"));
    sendBox->setToolTip(tr("Messages sent before, newest first"));
    sendBox->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    peerRow->addWidget(new QLabel(tr("History"), sendArea));
    peerRow->addWidget(sendBox, 2);
    auto *sendRow = new QHBoxLayout;
    sendTextEdit = new QPlainTextEdit(sendArea);
    sendTextEdit->setObjectName(QStringLiteral("sendTextEdit"));
    sendTextEdit->setPlaceholderText(tr("Text to send"));
    sendButton = new QPushButton(tr("Open"), sendArea);
    sendButton->setObjectName(QStringLiteral("sendButton"));
    sendButton->setMinimumHeight(48);
    sendRow->addWidget(sendTextEdit, 1);
    sendRow->addWidget(sendButton);
    sendLayout->addLayout(sendRow);
    dataSplitter->setStretchFactor(0, 4);
    dataSplitter->setStretchFactor(1, 1);

    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 5);
    window->setCentralWidget(splitter);

    statusLabel = new QLabel(window);
    statusLabel->setObjectName(QStringLiteral("statusLabel"));
    counterLabel = new QLabel(window);
    counterLabel->setObjectName(QStringLiteral("counterLabel"));
    logLabel = new QLabel(window);
    logLabel->setObjectName(QStringLiteral("logLabel"));
    window->statusBar()->addWidget(statusLabel);
    window->statusBar()->addPermanentWidget(counterLabel);
    window->statusBar()->addPermanentWidget(logLabel);
}
