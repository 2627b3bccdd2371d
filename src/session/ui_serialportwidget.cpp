#include "session/ui_serialportwidget.h"

#include "automation/sequencebar.h"
#include "connection/connectionsettingswidget.h"
#include "connection/wiretextcodecregistry.h"
#include "session/controllineledrow.h"
#include "session/hexinputhighlighter.h"
#include "tools/crccatalog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace {} // namespace

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
        combo->addItem(QCoreApplication::translate("SerialPortWidget", "None"), 0);
    }
    combo->addItem(QStringLiteral("CR"), 1);
    combo->addItem(QStringLiteral("LF"), 2);
    combo->addItem(QStringLiteral("CR LF"), 3);
    combo->addItem(QStringLiteral("LF CR"), 4);
    return combo;
}

QCheckBox *checkBox(QWidget *parent, const QString &name, const QString &text, const QString &tip)
{
    auto *box = new QCheckBox(text, parent);
    box->setObjectName(name);
    box->setToolTip(tip);
    return box;
}
} // namespace

QWidget *Ui_SerialPortWidget::fieldRow(QGroupBox *group, const QString &id, const QString &label,
                                       const QString &tip, const QList<QWidget *> &widgets)
{
    auto *row = new QWidget(group);
    row->setObjectName(QStringLiteral("field_") + id);
    row->setToolTip(tip);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    if (!label.isEmpty()) {
        auto *caption = new QLabel(label, row);
        caption->setMinimumWidth(84);
        layout->addWidget(caption);
    }
    for (QWidget *widget : widgets) {
        widget->setParent(row);
        if (auto *combo = qobject_cast<QComboBox *>(widget)) {
            // A long entry is shown cut rather than widening the column.
            combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
            combo->setMinimumContentsLength(5);
        }
        layout->addWidget(widget, qobject_cast<QComboBox *>(widget) ? 1 : 0);
    }
    layout->addStretch(0);
    group->layout()->addWidget(row);
    fieldRows[group].insert(id, row);
    return row;
}

void Ui_SerialPortWidget::setupReceiveGroup(QWidget *parent)
{
    receiveGroup = new QGroupBox(tr("Receive Settings"), parent);
    receiveGroup->setObjectName(QStringLiteral("receiveGroup"));
    receiveGroup->setToolTip(tr("How received data is shown"));
    auto *layout = new QVBoxLayout(receiveGroup);
    layout->setSpacing(2);
    textReceiveRadio = new QRadioButton(tr("Text"), receiveGroup);
    textReceiveRadio->setObjectName(QStringLiteral("textReceiveRadio"));
    hexReceiveRadio = new QRadioButton(tr("Hex"), receiveGroup);
    hexReceiveRadio->setObjectName(QStringLiteral("hexReceiveRadio"));
    auto *group = new QButtonGroup(receiveGroup);
    group->addButton(textReceiveRadio);
    group->addButton(hexReceiveRadio);
    receiveEncodingCombo = encodingCombo(receiveGroup, QStringLiteral("receiveEncodingCombo"));
    fieldRow(receiveGroup, QStringLiteral("rxFormat"), tr("Format"),
             tr("Show received data as text or hex, and the encoding to read it with"),
             {textReceiveRadio, hexReceiveRadio, receiveEncodingCombo});

    rxAutoFeedBox = checkBox(receiveGroup, QStringLiteral("rxAutoFeedBox"), tr("Auto Line Feed"),
                             tr("Start a new line after an idle interval"));
    autoFeedIntervalSpin = new QSpinBox(receiveGroup);
    autoFeedIntervalSpin->setObjectName(QStringLiteral("autoFeedIntervalSpin"));
    autoFeedIntervalSpin->setRange(1, 3600000);
    autoFeedIntervalSpin->setSuffix(tr(" ms"));
    fieldRow(receiveGroup, QStringLiteral("rxAutoFeed"), QString(),
             tr("Start a new line after an idle interval"), {rxAutoFeedBox, autoFeedIntervalSpin});
    displayTimeBox = checkBox(receiveGroup, QStringLiteral("displayTimeBox"), tr("Display Time"),
                              tr("Prefix received data with a timestamp"));
    fieldRow(receiveGroup, QStringLiteral("rxDisplayTime"), QString(),
             tr("Prefix received data with a timestamp"), {displayTimeBox});
    logSaveBox = checkBox(receiveGroup, QStringLiteral("logSaveBox"), tr("Log to File"),
                          tr("Write what the port shows to a log file"));
    logPathButton = new QToolButton(receiveGroup);
    logPathButton->setObjectName(QStringLiteral("logPathButton"));
    logPathButton->setText(QStringLiteral("…"));
    logPathButton->setToolTip(tr("Choose the log file"));
    fieldRow(receiveGroup, QStringLiteral("rxLog"), QString(),
             tr("Write what the port shows to a log file"), {logSaveBox, logPathButton});
}

void Ui_SerialPortWidget::setupSendGroup(QWidget *parent)
{
    sendGroup = new QGroupBox(tr("Send Settings"), parent);
    sendGroup->setObjectName(QStringLiteral("sendGroup"));
    sendGroup->setToolTip(tr("How data is sent"));
    auto *layout = new QVBoxLayout(sendGroup);
    layout->setSpacing(2);
    textSendRadio = new QRadioButton(tr("Text"), sendGroup);
    textSendRadio->setObjectName(QStringLiteral("textSendRadio"));
    hexSendRadio = new QRadioButton(tr("Hex"), sendGroup);
    hexSendRadio->setObjectName(QStringLiteral("hexSendRadio"));
    auto *group = new QButtonGroup(sendGroup);
    group->addButton(textSendRadio);
    group->addButton(hexSendRadio);
    sendEncodingCombo = encodingCombo(sendGroup, QStringLiteral("sendEncodingCombo"));
    fieldRow(sendGroup, QStringLiteral("txFormat"), tr("Format"),
             tr("Send the input as text or hex, and the encoding to send it with"),
             {textSendRadio, hexSendRadio, sendEncodingCombo});

    autoSendBox = checkBox(sendGroup, QStringLiteral("autoSendBox"), tr("Loop Send"),
                           tr("Resend automatically at an interval"));
    sendIntervelSB = new QSpinBox(sendGroup);
    sendIntervelSB->setObjectName(QStringLiteral("sendIntervelSB"));
    sendIntervelSB->setRange(1, 1000000);
    sendIntervelSB->setSuffix(tr(" ms"));
    fieldRow(sendGroup, QStringLiteral("txLoop"), QString(),
             tr("Resend automatically at an interval"), {autoSendBox, sendIntervelSB});

    txLineEndingCombo = lineEndingCombo(sendGroup, QStringLiteral("txLineEndingCombo"), true);
    fieldRow(sendGroup, QStringLiteral("txAutoFeed"), tr("Append Line Ending"),
             tr("Ending appended to each send"), {txLineEndingCombo});
    terminalEnterCombo = lineEndingCombo(sendGroup, QStringLiteral("terminalEnterCombo"), false);
    fieldRow(sendGroup, QStringLiteral("txTerminalEnter"), tr("Enter Sends"),
             tr("Bytes sent when Enter is pressed in the receive terminal"), {terminalEnterCombo});
    checksumCombo = new QComboBox(sendGroup);
    checksumCombo->setObjectName(QStringLiteral("checksumCombo"));
    const QStringList checksums = CrcCatalog::sendChecksumLabels();
    for (int mode = 0; mode < checksums.size(); ++mode) {
        checksumCombo->addItem(checksums.at(mode), mode);
    }
    fieldRow(sendGroup, QStringLiteral("txChecksum"), tr("Append Checksum"),
             tr("Checksum appended to each send"), {checksumCombo});

    displaySendBox = checkBox(sendGroup, QStringLiteral("displaySendBox"), tr("Display Send"),
                              tr("Echo sent data in the display"));
    fieldRow(sendGroup, QStringLiteral("txDisplaySend"), QString(),
             tr("Echo sent data in the display"), {displaySendBox});
    localEchoBox = checkBox(sendGroup, QStringLiteral("localEchoBox"), tr("Local Echo"),
                            tr("Echo keys typed into the receive terminal"));
    fieldRow(sendGroup, QStringLiteral("txLocalEcho"), QString(),
             tr("Echo keys typed into the receive terminal"), {localEchoBox});
    cbLinebyLine = checkBox(sendGroup, QStringLiteral("cbLinebyLine"), tr("Line by Line"),
                            tr("Send multi-line input line by line"));
    fieldRow(sendGroup, QStringLiteral("txLineByLine"), QString(),
             tr("Send multi-line input line by line"), {cbLinebyLine});
    sendEscapesBox =
        checkBox(sendGroup, QStringLiteral("sendEscapesBox"), tr("Escapes"),
                 tr("Expand \\n, \\r, \\t, \\xHH and other backslash escapes in text"));
    formatSendBox = checkBox(sendGroup, QStringLiteral("formatSendBox"), tr("Format Hex"),
                             tr("Rewrite hex input as spaced upper-case pairs after sending"));
    fieldRow(sendGroup, QStringLiteral("txEscapes"), QString(),
             tr("How text and hex input are read"), {sendEscapesBox, formatSendBox});
}

void Ui_SerialPortWidget::applyGroupOrder(const QStringList &order, const QStringList &visible)
{
    auto *layout = static_cast<QVBoxLayout *>(settingsColumn->layout());
    const QHash<QString, QGroupBox *> groups = {{QStringLiteral("connection"), connectionGroup},
                                                {QStringLiteral("receive"), receiveGroup},
                                                {QStringLiteral("send"), sendGroup}};
    int position = 1; // below the buttons
    for (const QString &id : order) {
        QGroupBox *group = groups.value(id);
        if (!group) {
            continue;
        }
        layout->removeWidget(group);
        layout->insertWidget(position++, group);
        group->setVisible(visible.contains(id));
    }
}

void Ui_SerialPortWidget::applyFieldLayout(QGroupBox *group, const QStringList &visibleFields)
{
    // Listed fields in the given order, then the fields that are always shown.
    auto *layout = static_cast<QVBoxLayout *>(group->layout());
    const QHash<QString, QWidget *> rows = fieldRows.value(group);
    QList<QWidget *> ordered;
    for (const QString &id : visibleFields) {
        if (QWidget *row = rows.value(id)) {
            ordered.append(row);
        }
    }
    QList<QWidget *> always;
    for (int i = 0; i < layout->count(); ++i) {
        QWidget *row = layout->itemAt(i)->widget();
        if (row && !ordered.contains(row) && alwaysShownFields.contains(rows.key(row))) {
            always.append(row);
        }
    }
    for (QWidget *row : rows) {
        layout->removeWidget(row);
        row->setVisible(false);
    }
    for (QWidget *row : ordered + always) {
        layout->addWidget(row);
        row->setVisible(true);
    }
}

void Ui_SerialPortWidget::setupUi(QMainWindow *window)
{
    splitter = new QSplitter(Qt::Horizontal, window);
    splitter->setObjectName(QStringLiteral("splitter"));
    splitter->setChildrenCollapsible(false);

    // The splitter's first pane holds the quick settings column, or, folded, a strip
    // with the button that opens it.
    settingsHost = new QWidget(splitter);
    settingsHost->setObjectName(QStringLiteral("quickSettingsHost"));
    auto *hostLayout = new QHBoxLayout(settingsHost);
    hostLayout->setContentsMargins(0, 0, 0, 0);
    hostLayout->setSpacing(0);
    collapsedStrip = new QWidget(settingsHost);
    collapsedStrip->setObjectName(QStringLiteral("quickSettingsStrip"));
    auto *stripLayout = new QVBoxLayout(collapsedStrip);
    stripLayout->setContentsMargins(2, 4, 2, 4);
    expandButton = new QToolButton(collapsedStrip);
    expandButton->setObjectName(QStringLiteral("quickSettingsExpandButton"));
    expandButton->setArrowType(Qt::RightArrow);
    expandButton->setAutoRaise(true);
    expandButton->setToolTip(tr("Show the settings of this connection"));
    stripLayout->addWidget(expandButton);
    const auto stripButton = [this](const QString &name, QStyle::StandardPixmap icon,
                                    const QString &tip) {
        auto *button = new QToolButton(collapsedStrip);
        button->setObjectName(name);
        button->setIcon(collapsedStrip->style()->standardIcon(icon));
        button->setAutoRaise(true);
        button->setToolTip(tip);
        collapsedStrip->layout()->addWidget(button);
        return button;
    };
    stripOpenButton = stripButton(QStringLiteral("stripOpenButton"), QStyle::SP_MediaPlay,
                                  tr("Open"));
    stripPauseButton = stripButton(QStringLiteral("stripPauseButton"), QStyle::SP_MediaPause,
                                   tr("Pause"));
    stripClearButton = stripButton(QStringLiteral("stripClearButton"),
                                   QStyle::SP_DialogResetButton, tr("Clear"));
    stripLayout->addStretch(1);
    collapsedStrip->hide();
    hostLayout->addWidget(collapsedStrip);

    // The quick settings column: the open/pause/clear buttons on top, then the
    // connection, receive and send groups in the order the user chose.
    auto *scroll = new QScrollArea(settingsHost);
    settingsScroll = scroll;
    hostLayout->addWidget(scroll, 1);
    scroll->setObjectName(QStringLiteral("quickSettingsScroll"));
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    settingsColumn = new QWidget(scroll);
    settingsColumn->setObjectName(QStringLiteral("quickSettingsPane"));
    scroll->setWidget(settingsColumn);
    auto *settingsLayout = new QVBoxLayout(settingsColumn);
    settingsLayout->setContentsMargins(4, 4, 4, 4);
    auto *buttons = new QHBoxLayout;
    collapseButton = new QToolButton(settingsColumn);
    collapseButton->setObjectName(QStringLiteral("quickSettingsCollapseButton"));
    collapseButton->setArrowType(Qt::LeftArrow);
    collapseButton->setAutoRaise(true);
    collapseButton->setToolTip(tr("Fold the settings to a strip"));
    buttons->addWidget(collapseButton);
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
    connectionGroup = new QGroupBox(tr("Connection Settings"), settingsColumn);
    connectionGroup->setObjectName(QStringLiteral("connectionGroup"));
    connectionGroup->setToolTip(tr("Port and connection parameters"));
    auto *connectionLayout = new QVBoxLayout(connectionGroup);
    connectionSettings = new ConnectionSettingsWidget(connectionGroup);
    connectionSettings->setObjectName(QStringLiteral("connectionSettings"));
    connectionLayout->addWidget(connectionSettings);
    settingsLayout->addWidget(connectionGroup);
    setupReceiveGroup(settingsColumn);
    settingsLayout->addWidget(receiveGroup);
    setupSendGroup(settingsColumn);
    settingsLayout->addWidget(sendGroup);
    settingsLayout->addStretch(1);
    // The column scrolls vertically on a small panel, never horizontally; its fields
    // shrink to their least useful width before the panel grows.
    for (QComboBox *combo : connectionSettings->findChildren<QComboBox *>()) {
        combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        combo->setMinimumContentsLength(5);
    }
    for (QPushButton *button : {openButton, pauseButton, clearButton}) {
        button->setMinimumWidth(0);
        button->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }
    scroll->setMinimumWidth(settingsColumn->minimumSizeHint().width() +
                            scroll->verticalScrollBar()->sizeHint().width());

    dataSplitter = new QSplitter(Qt::Vertical, splitter);
    auto *receiveArea = new QWidget(dataSplitter);
    auto *receiveLayout = new QVBoxLayout(receiveArea);
    receiveLayout->setContentsMargins(0, 0, 0, 0);
    receiveLayout->setSpacing(2);
    receiveBrowser = new QPlainTextEdit(receiveArea);
    receiveLayout->addWidget(receiveBrowser, 1);
    ledRow = new ControlLineLedRow(receiveArea);
    ledRow->setObjectName(QStringLiteral("ledRow"));
    // The panel's View menu sits at the end of this row, which stays when the lines'
    // LEDs are hidden.
    auto *ledAndView = new QHBoxLayout;
    ledAndView->addWidget(ledRow, 1);
    viewButton = new QToolButton(receiveArea);
    viewButton->setObjectName(QStringLiteral("portViewButton"));
    viewButton->setText(tr("View"));
    viewButton->setAutoRaise(true);
    viewButton->setPopupMode(QToolButton::InstantPopup);
    ledAndView->addWidget(viewButton);
    receiveLayout->addLayout(ledAndView);
    receiveBrowser->setObjectName(QStringLiteral("receiveBrowser"));
    receiveBrowser->setUndoRedoEnabled(false);
    receiveBrowser->setReadOnly(true);
    receiveBrowser->setTextInteractionFlags(Qt::TextSelectableByMouse |
                                            Qt::TextSelectableByKeyboard);
    receiveBrowser->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    receiveBrowser->setMinimumWidth(120);
    followButton = new QToolButton(receiveBrowser);
    followButton->setObjectName(QStringLiteral("followButton"));
    followButton->setText(tr("Not following: click to follow"));
    followButton->setToolTip(tr("New data arrives below; click to scroll to the end and follow "
                                "it"));
    followButton->setArrowType(Qt::DownArrow);
    followButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    // In the window's font, not in the view's fixed-width one (which the view would
    // hand down to it otherwise).
    QFont buttonFont = window->font();
    buttonFont.setFamily(buttonFont.family());
    buttonFont.setPointSizeF(buttonFont.pointSizeF());
    followButton->setFont(buttonFont);
    followButton->hide();

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
    autoReplyBadge = new QToolButton(sendArea);
    autoReplyBadge->setObjectName(QStringLiteral("autoReplyBadge"));
    autoReplyBadge->setAutoRaise(true);
    autoReplyBadge->setStyleSheet(
        QStringLiteral("QToolButton { color: #1565c0; font-weight: bold; }"));
    autoReplyBadge->hide();
    peerRow->addWidget(autoReplyBadge);
    sendBox = new QComboBox(sendArea);
    sendBox->setObjectName(QStringLiteral("sendBox"));
    sendBox->setToolTip(tr("Messages sent before, newest first"));
    sendBox->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    peerRow->addWidget(new QLabel(tr("History"), sendArea));
    peerRow->addWidget(sendBox, 2);
    sequenceBar = new SequenceBar(sendArea);
    sequenceBar->setObjectName(QStringLiteral("sequenceBar"));
    sendLayout->addWidget(sequenceBar);
    auto *sendRow = new QHBoxLayout;
    sendTextEdit = new QPlainTextEdit(sendArea);
    sendTextEdit->setObjectName(QStringLiteral("sendTextEdit"));
    sendTextEdit->setPlaceholderText(tr("Text to send (Ctrl+Enter sends)"));
    // Marks what a hex send would refuse, as it is typed.
    hexHighlighter = new HexInputHighlighter(sendTextEdit->document());
    QObject::connect(hexSendRadio, &QRadioButton::toggled, hexHighlighter,
                     &HexInputHighlighter::setHexMode);
    sendButton = new QPushButton(tr("Open"), sendArea);
    sendButton->setObjectName(QStringLiteral("sendButton"));
    sendButton->setToolTip(tr("Sends the message (Ctrl+Enter); opens a closed port"));
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
    // The state text is cut on a narrow panel rather than widening it.
    statusLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    statusLabel->setMinimumWidth(40);
    window->statusBar()->setSizeGripEnabled(false);
    window->statusBar()->addWidget(statusLabel, 1);
    window->statusBar()->addPermanentWidget(counterLabel);
    window->statusBar()->addPermanentWidget(logLabel);
}
