#include "app/settingspanel.h"

#include "app/settingsservice.h"
#include "cloud/accountsession.h"
#include "cloud/relaytargetdialog.h"
#include "connection/connectionsettingswidget.h"
#include "connection/displayfont.h"
#include "connection/portfieldlimits.h"
#include "connection/serialportlist.h"
#include "connection/settingscodec.h"
#include "connection/wiretextcodecregistry.h"
#include "tools/crccatalog.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QTimeEdit>
#include <QVBoxLayout>

#include <algorithm>
#include <limits>
#include <utility>

namespace {
const int BaudRates[] = {9600, 19200, 38400, 57600, 115200, 230400, 460800, 921600};
// Item data of the baud box's free-entry item.
constexpr int CustomBaud = -1;
// The modes the mode box always lists; a record of another mode adds its own item.
constexpr int ListedModes = 7;
// The send interval units the unit box always lists; a stored unit of another size adds
// its own item.
constexpr int ListedUnits = 3;
// Sizes in MiB that still fit the 32-bit byte counts of the records.
constexpr int MaxMib = std::numeric_limits<qint32>::max() >> 20;
constexpr int MinSendInterval = 1;
constexpr int MaxSendInterval = 1000000;

int clampedInt(qint64 value, int min, int max)
{
    return int(std::clamp<qint64>(value, min, max));
}

// Selects the item with `value` as its data, or none when no item has it.
void selectData(QComboBox *combo, const QVariant &value)
{
    combo->setCurrentIndex(combo->findData(value));
}

// The data of the current item; `fallback` while no item is selected.
int comboValue(const QComboBox *combo, int fallback)
{
    return combo->currentIndex() < 0 ? fallback : combo->currentData().toInt();
}

// Where the fields read exactly as they did when the records were shown, the records'
// own values stand. The fields are compared as a group and taken over together.
template<typename Record, typename... Fields>
void keepUnedited(Record &out, const Record &shown, const Record &held, Fields... fields)
{
    if (((out.*fields == shown.*fields) && ...)) {
        ((out.*fields = held.*fields), ...);
    }
}

QComboBox *makeCombo(const QString &name, QWidget *parent)
{
    auto *combo = new QComboBox(parent);
    combo->setObjectName(name);
    return combo;
}

QCheckBox *makeCheckBox(const QString &name, const QString &text, const QString &tip,
                        QWidget *parent)
{
    auto *box = new QCheckBox(text, parent);
    box->setObjectName(name);
    box->setToolTip(tip);
    return box;
}

QSpinBox *makeSpin(const QString &name, int min, int max, QWidget *parent)
{
    auto *spin = new QSpinBox(parent);
    spin->setObjectName(name);
    spin->setRange(min, max);
    return spin;
}

QLineEdit *makeLineEdit(const QString &name, QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(name);
    return edit;
}

// A row of widgets without margins, for one line of a form.
QWidget *makeRow(QWidget *parent, std::initializer_list<QWidget *> widgets, bool stretch)
{
    auto *row = new QWidget(parent);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets) {
        widget->setParent(row);
        layout->addWidget(widget);
    }
    if (stretch) {
        layout->addStretch(1);
    }
    return row;
}

QIcon colorSwatch(const QString &color)
{
    QPixmap swatch(16, 16);
    swatch.fill(QColor(color));
    return QIcon(swatch);
}

QString firstUsablePortName()
{
    return listUsableSerialPorts().value(0).portName();
}
} // namespace

SettingsPanel::SettingsPanel(QWidget *parent)
    : QWidget(parent)
    , port(SettingsService::defaultPortSettings(firstUsablePortName()))
    , format(SettingsService::defaultFormatSettings())
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("settingsPage"));
    auto *left = new QVBoxLayout;
    left->addWidget(buildConnectionGroup());
    left->addWidget(buildLogGroup());
    left->addStretch(1);
    auto *right = new QVBoxLayout;
    right->addWidget(buildReceiveGroup());
    right->addWidget(buildSendGroup());
    right->addStretch(1);
    auto *columns = new QHBoxLayout(page);
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);

    // The page scrolls rather than squeezing its fields when the dialog is small.
    auto *scroll = new QScrollArea(this);
    scroll->setObjectName(QStringLiteral("settingsScrollArea"));
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setWidget(page);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);

    initialPara();
    connectEditSignals();
}

QWidget *SettingsPanel::buildConnectionGroup()
{
    auto *group = new QGroupBox(tr("Connection"));
    group->setObjectName(QStringLiteral("connectionGroup"));
    group->setToolTip(tr("Port and connection parameters"));
    connectionForm = new QFormLayout(group);
    connectionForm->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    modeCombo = makeCombo(QStringLiteral("modeCombo"), group);
    portNameCombo = makeCombo(QStringLiteral("portNameCombo"), group);
    portNameCombo->setEditable(true);
    portNameCombo->setInsertPolicy(QComboBox::NoInsert);
    portNameCombo->setToolTip(tr("A port from the list, or any device path such as "
                                 "/dev/serial/by-id/... or a pseudo-terminal"));
    baudCombo = makeCombo(QStringLiteral("baudCombo"), group);
    baudCombo->setToolTip(tr("Serial transfer speed"));
    dataBitsCombo = makeCombo(QStringLiteral("dataBitsCombo"), group);
    dataBitsCombo->setToolTip(tr("Data bits per frame"));
    parityCombo = makeCombo(QStringLiteral("parityCombo"), group);
    parityCombo->setToolTip(tr("Parity check mode"));
    stopBitsCombo = makeCombo(QStringLiteral("stopBitsCombo"), group);
    stopBitsCombo->setToolTip(tr("Stop bits per frame"));
    flowCombo = makeCombo(QStringLiteral("flowCombo"), group);
    flowCombo->setToolTip(tr("Flow control method"));
    dtrBox = makeCheckBox(QStringLiteral("dtrBox"), tr("DTR on"),
                          tr("Raise DTR when the port opens"), group);
    rtsBox = makeCheckBox(QStringLiteral("rtsBox"), tr("RTS on"),
                          tr("Raise RTS when the port opens; RTS/CTS flow control drives RTS "
                             "itself"),
                          group);
    controlLinesRow = makeRow(group, {dtrBox, rtsBox}, true);
    hostCombo = makeCombo(QStringLiteral("hostCombo"), group);
    hostCombo->setEditable(true);
    hostCombo->setInsertPolicy(QComboBox::NoInsert);
    hostCombo->setToolTip(tr("Host name or address of the peer; recently used hosts are listed"));
    targetPortSpin =
        makeSpin(QStringLiteral("targetPortSpin"), 0, PortFieldLimits::MaxNetworkPort, group);
    udpLocalPortSpin =
        makeSpin(QStringLiteral("udpLocalPortSpin"), 0, PortFieldLimits::MaxNetworkPort, group);
    udpLocalPortSpin->setToolTip(tr("The local port the UDP client binds"));
    udpServerPortSpin =
        makeSpin(QStringLiteral("udpServerPortSpin"), 0, PortFieldLimits::MaxNetworkPort, group);
    udpServerPortSpin->setToolTip(tr("The local port the UDP server binds"));
    relayTargetLabel = new QLabel(group);
    relayTargetLabel->setObjectName(QStringLiteral("relayTargetLabel"));
    relayTargetLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *relayChooseButton = new QPushButton(tr("Choose..."), group);
    relayChooseButton->setObjectName(QStringLiteral("relayChooseButton"));
    relayChooseButton->setToolTip(tr("Choose a port of another computer, or join with an invite "
                                     "code"));
    connect(relayChooseButton, &QPushButton::clicked, this, &SettingsPanel::chooseRelayTarget);
    relayTargetRow = makeRow(group, {relayTargetLabel, relayChooseButton}, true);
    rfc2217UseRemoteBox = makeCheckBox(
        QStringLiteral("rfc2217UseRemoteBox"), tr("Keep the remote port's own config"),
        tr("Leave the remote port's line parameters as they are instead of sending these"), group);

    connectionForm->addRow(tr("Mode"), modeCombo);
    connectionForm->addRow(tr("Port"), portNameCombo);
    connectionForm->addRow(tr("Baudrate"), baudCombo);
    connectionForm->addRow(tr("Data Bits"), dataBitsCombo);
    connectionForm->addRow(tr("Parity"), parityCombo);
    connectionForm->addRow(tr("Stop Bits"), stopBitsCombo);
    connectionForm->addRow(tr("Flow Type"), flowCombo);
    connectionForm->addRow(tr("At open"), controlLinesRow);
    connectionForm->addRow(tr("Host"), hostCombo);
    connectionForm->addRow(tr("Remote port"), targetPortSpin);
    connectionForm->addRow(tr("Local port"), udpLocalPortSpin);
    connectionForm->addRow(tr("Listen port"), udpServerPortSpin);
    connectionForm->addRow(tr("Remote computer"), relayTargetRow);
    connectionForm->addRow(rfc2217UseRemoteBox);

    // Layout changes go first, so that what follows an edit sees the new rows.
    connect(modeCombo, &QComboBox::currentIndexChanged, this, &SettingsPanel::syncModeRows);
    connect(baudCombo, &QComboBox::currentIndexChanged, this, &SettingsPanel::onBaudIndexChanged);
    return group;
}

QWidget *SettingsPanel::buildReceiveGroup()
{
    auto *group = new QGroupBox(tr("Receive"));
    group->setObjectName(QStringLiteral("receiveGroup"));
    group->setToolTip(tr("How received data is shown"));
    auto *form = new QFormLayout(group);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    rxFormatCombo = makeCombo(QStringLiteral("rxFormatCombo"), group);
    rxEncodingCombo = makeCombo(QStringLiteral("rxEncodingCombo"), group);
    auto *formatRow = makeRow(group, {rxFormatCombo, rxEncodingCombo}, false);
    formatRow->setToolTip(
        tr("Show received data as text or hex, and the encoding to read it with"));
    form->addRow(tr("Format"), formatRow);

    rxAutoFeedBox = makeCheckBox(QStringLiteral("rxAutoFeedBox"), tr("Auto Line Feed"),
                                 tr("Start a new line after an idle interval"), group);
    autoFeedIntervalSpin = makeSpin(QStringLiteral("autoFeedIntervalSpin"), 1, 3600000, group);
    autoFeedIntervalSpin->setSuffix(tr(" ms"));
    autoFeedIntervalSpin->setToolTip(tr("The idle interval that starts a new line"));
    form->addRow(makeRow(group, {rxAutoFeedBox, autoFeedIntervalSpin}, true));

    rxLineEndingCombo = makeCombo(QStringLiteral("rxLineEndingCombo"), group);
    rxLineEndingCombo->setToolTip(tr("The line ending of received text"));
    form->addRow(tr("Line Ending"), rxLineEndingCombo);

    displayTimeBox = makeCheckBox(QStringLiteral("displayTimeBox"), tr("Display Time"),
                                  tr("Prefix received data with a timestamp"), group);
    form->addRow(displayTimeBox);
    const QString timeTip = tr("A time format such as hh:mm:ss.zzz; other text is shown as "
                               "it is");
    rxTimeFormatEdit = makeLineEdit(QStringLiteral("rxTimeFormatEdit"), group);
    rxTimeFormatEdit->setToolTip(timeTip);
    form->addRow(tr("Received stamp"), rxTimeFormatEdit);
    txTimeFormatEdit = makeLineEdit(QStringLiteral("txTimeFormatEdit"), group);
    txTimeFormatEdit->setToolTip(timeTip);
    form->addRow(tr("Sent stamp"), txTimeFormatEdit);

    displayBufferSpin = makeSpin(QStringLiteral("displayBufferSpin"), 1, MaxMib, group);
    displayBufferSpin->setSuffix(tr(" MiB"));
    displayBufferSpin->setToolTip(tr("Received data kept for the display and while paused"));
    form->addRow(tr("Display buffer"), displayBufferSpin);

    fontLabel = new QLabel(group);
    fontLabel->setObjectName(QStringLiteral("fontLabel"));
    auto *fontButton = new QPushButton(tr("Choose..."), group);
    fontButton->setObjectName(QStringLiteral("fontButton"));
    fontButton->setAutoDefault(false);
    form->addRow(tr("Font"), makeRow(group, {fontLabel, fontButton}, false));

    formatDisplayColorBox =
        makeCheckBox(QStringLiteral("formatDisplayColorBox"), tr("Colour text"),
                     tr("Show received and sent text in the colours chosen here"), group);
    sendColorButton = new QPushButton(group);
    sendColorButton->setObjectName(QStringLiteral("sendColorButton"));
    sendColorButton->setToolTip(tr("Colour of sent text"));
    sendColorButton->setAutoDefault(false);
    receiveColorButton = new QPushButton(group);
    receiveColorButton->setObjectName(QStringLiteral("receiveColorButton"));
    receiveColorButton->setToolTip(tr("Colour of received text"));
    receiveColorButton->setAutoDefault(false);
    form->addRow(
        makeRow(group, {formatDisplayColorBox, receiveColorButton, sendColorButton}, true));

    showControlLineLedsBox =
        makeCheckBox(QStringLiteral("showControlLineLedsBox"), tr("Show control line indicators"),
                     tr("Show the row of TX/RX and control line lights"), group);
    form->addRow(showControlLineLedsBox);

    connect(fontButton, &QPushButton::clicked, this, &SettingsPanel::chooseFont);
    connect(sendColorButton, &QPushButton::clicked, this,
            [this] { chooseColor(&sendColor, tr("Sent Text Colour")); });
    connect(receiveColorButton, &QPushButton::clicked, this,
            [this] { chooseColor(&receiveColor, tr("Received Text Colour")); });
    return group;
}

QWidget *SettingsPanel::buildSendGroup()
{
    auto *group = new QGroupBox(tr("Send"));
    group->setObjectName(QStringLiteral("sendGroup"));
    group->setToolTip(tr("How data is sent"));
    auto *form = new QFormLayout(group);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    txFormatCombo = makeCombo(QStringLiteral("txFormatCombo"), group);
    txEncodingCombo = makeCombo(QStringLiteral("txEncodingCombo"), group);
    auto *formatRow = makeRow(group, {txFormatCombo, txEncodingCombo}, false);
    formatRow->setToolTip(tr("Send the input as text or hex, and the encoding to send it with"));
    form->addRow(tr("Format"), formatRow);

    txLineEndingCombo = makeCombo(QStringLiteral("txLineEndingCombo"), group);
    txLineEndingCombo->setToolTip(tr("Ending appended to each send"));
    form->addRow(tr("Append Line Ending"), txLineEndingCombo);
    enterModeCombo = makeCombo(QStringLiteral("enterModeCombo"), group);
    enterModeCombo->setToolTip(tr("Bytes sent when Enter is pressed in the receive terminal"));
    form->addRow(tr("Enter Sends"), enterModeCombo);
    checksumCombo = makeCombo(QStringLiteral("checksumCombo"), group);
    checksumCombo->setToolTip(tr("Checksum appended to each send"));
    form->addRow(tr("Append Checksum"), checksumCombo);

    sendEscapesBox = makeCheckBox(QStringLiteral("sendEscapesBox"), tr("Escapes"),
                                  tr("Expand \\n, \\r, \\t, \\xHH and other backslash escapes "
                                     "in text"),
                                  group);
    formatSendBox =
        makeCheckBox(QStringLiteral("formatSendBox"), tr("Format Hex"),
                     tr("Rewrite hex input as spaced upper-case pairs after sending"), group);
    supportCommentBox = makeCheckBox(QStringLiteral("supportCommentBox"), tr("Comments"),
                                     tr("Allow comments in the send input"), group);
    displaySendBox = makeCheckBox(QStringLiteral("displaySendBox"), tr("Display Send"),
                                  tr("Echo sent data in the display"), group);
    localEchoBox = makeCheckBox(QStringLiteral("localEchoBox"), tr("Local Echo"),
                                tr("Echo keys typed into the receive terminal"), group);
    lineByLineBox = makeCheckBox(QStringLiteral("lineByLineBox"), tr("Line by Line"),
                                 tr("Send multi-line input line by line"), group);
    auto *boxes = new QGridLayout;
    boxes->addWidget(sendEscapesBox, 0, 0);
    boxes->addWidget(formatSendBox, 0, 1);
    boxes->addWidget(supportCommentBox, 0, 2);
    boxes->addWidget(displaySendBox, 1, 0);
    boxes->addWidget(localEchoBox, 1, 1);
    boxes->addWidget(lineByLineBox, 1, 2);
    form->addRow(boxes);

    autoSendBox = makeCheckBox(QStringLiteral("autoSendBox"), tr("Loop Send"),
                               tr("Resend automatically at an interval"), group);
    sendIntervalSpin =
        makeSpin(QStringLiteral("sendIntervalSpin"), MinSendInterval, MaxSendInterval, group);
    sendIntervalSpin->setToolTip(tr("The interval between sends, in the unit beside it"));
    sendTimeUnitCombo = makeCombo(QStringLiteral("sendTimeUnitCombo"), group);
    form->addRow(makeRow(group, {autoSendBox, sendIntervalSpin, sendTimeUnitCombo}, true));
    return group;
}

QWidget *SettingsPanel::buildLogGroup()
{
    auto *group = new QGroupBox(tr("Log"));
    group->setObjectName(QStringLiteral("logGroup"));
    group->setToolTip(tr("How the port writes what it shows to a file"));
    auto *form = new QFormLayout(group);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    logSaveBox = makeCheckBox(QStringLiteral("logSaveBox"), tr("Log to File"),
                              tr("Write what the port shows to a log file"), group);
    logAppendBox = makeCheckBox(QStringLiteral("logAppendBox"), tr("Append"),
                                tr("Add to an existing file instead of starting it afresh"), group);
    logPromptBox = makeCheckBox(QStringLiteral("logPromptBox"), tr("Ask for Name"),
                                tr("Ask for the file name each time logging starts"), group);
    logStartOnConnectBox =
        makeCheckBox(QStringLiteral("logStartOnConnectBox"), tr("Start on Connect"),
                     tr("Start logging by itself when the port opens"), group);
    auto *boxes = new QGridLayout;
    boxes->addWidget(logSaveBox, 0, 0);
    boxes->addWidget(logAppendBox, 0, 1);
    boxes->addWidget(logPromptBox, 1, 0);
    boxes->addWidget(logStartOnConnectBox, 1, 1);
    form->addRow(boxes);

    logFilePathEdit = makeLineEdit(QStringLiteral("logFilePathEdit"), group);
    logFilePathEdit->setToolTip(
        tr("The log file. %S is replaced by the port name; %Y, %y, %M, %D, %h, %m, %s and %z "
           "by the year, two-digit year, month, day, hour, minute, second and millisecond"));
    auto *filePathButton = new QPushButton(tr("Browse..."), group);
    filePathButton->setObjectName(QStringLiteral("filePathButton"));
    filePathButton->setAutoDefault(false);
    auto *pathRow = makeRow(group, {logFilePathEdit, filePathButton}, false);
    form->addRow(tr("File"), pathRow);

    logTimestampBox = makeCheckBox(QStringLiteral("logTimestampBox"), tr("Time Stamp"),
                                   tr("Begin each logged line with a time stamp"), group);
    logTimestampEdit = makeLineEdit(QStringLiteral("logTimestampEdit"), group);
    logTimestampEdit->setToolTip(tr("%h, %m, %s and %z stand for the hour, minute, second and "
                                    "millisecond"));
    form->addRow(makeRow(group, {logTimestampBox, logTimestampEdit}, false));

    logRotateSizeBox =
        makeCheckBox(QStringLiteral("logRotateSizeBox"), tr("Rotate above"),
                     tr("Start a new file when the log grows past this size"), group);
    logRotateSizeSpin = makeSpin(QStringLiteral("logRotateSizeSpin"), 0, MaxMib, group);
    logRotateSizeSpin->setSuffix(tr(" MiB"));
    form->addRow(makeRow(group, {logRotateSizeBox, logRotateSizeSpin}, true));

    logRotateTimeBox = makeCheckBox(QStringLiteral("logRotateTimeBox"), tr("Rotate daily at"),
                                    tr("Start a new file every day at this time"), group);
    logRotateTimeEdit = new QTimeEdit(group);
    logRotateTimeEdit->setObjectName(QStringLiteral("logRotateTimeEdit"));
    logRotateTimeEdit->setDisplayFormat(QStringLiteral("HH:mm:ss"));
    form->addRow(makeRow(group, {logRotateTimeBox, logRotateTimeEdit}, true));

    needHourBox = makeCheckBox(QStringLiteral("needHourBox"), tr("Hour in file name"),
                               tr("Rotated file names carry the hour"), group);
    form->addRow(needHourBox);

    connect(filePathButton, &QPushButton::clicked, this, &SettingsPanel::on_filePathButton_clicked);
    return group;
}

void SettingsPanel::connectEditSignals()
{
    // Every field reports to userEdited, which tells user edits from records being shown.
    for (QCheckBox *box : findChildren<QCheckBox *>()) {
        connect(box, &QCheckBox::toggled, this, &SettingsPanel::userEdited);
    }
    for (QComboBox *combo : findChildren<QComboBox *>()) {
        connect(combo, &QComboBox::currentIndexChanged, this, &SettingsPanel::userEdited);
        connect(combo, &QComboBox::editTextChanged, this, &SettingsPanel::userEdited);
    }
    for (QSpinBox *spin : findChildren<QSpinBox *>()) {
        connect(spin, &QSpinBox::valueChanged, this, &SettingsPanel::userEdited);
    }
    for (QLineEdit *edit :
         {rxTimeFormatEdit, txTimeFormatEdit, logFilePathEdit, logTimestampEdit}) {
        connect(edit, &QLineEdit::textChanged, this, &SettingsPanel::userEdited);
    }
    connect(logRotateTimeEdit, &QTimeEdit::timeChanged, this, &SettingsPanel::userEdited);
}

void SettingsPanel::initialPara()
{
    const bool wasPushing = std::exchange(pushing, true);
    fillConnectionModeParameters();
    fillPortsInfo();
    fillPortsParameters();
    fillAutoFeedEnding();
    fillSendChecksumModes();
    fillEncodings();
    fillSendTimeUnits();
    pushing = wasPushing;
    updateDisplay();
}

void SettingsPanel::fillConnectionModeParameters()
{
    const bool wasPushing = std::exchange(pushing, true);
    modeCombo->clear();
    modeCombo->addItem(tr("Serial"), int(ModeSerial));
    modeCombo->addItem(tr("TCP Server"), int(ModeTcpServer));
    modeCombo->addItem(tr("TCP Client"), int(ModeTcpClient));
    modeCombo->addItem(tr("UDP Server"), int(ModeUdpServer));
    modeCombo->addItem(tr("UDP Client"), int(ModeUdpClient));
    modeCombo->addItem(tr("Remote Serial (RFC 2217)"), int(ModeRemoteSerial));
    modeCombo->addItem(tr("Live Relay"), int(ModeLiveRelay));
    pushing = wasPushing;
}

void SettingsPanel::fillPortsInfo()
{
    const bool wasPushing = std::exchange(pushing, true);
    ConnectionSettingsWidget::fillPortCombo(portNameCombo);
    pushing = wasPushing;
}

void SettingsPanel::fillPortsParameters()
{
    const bool wasPushing = std::exchange(pushing, true);
    baudCombo->clear();
    for (int rate : BaudRates) {
        baudCombo->addItem(QString::number(rate), rate);
    }
    baudCombo->addItem(tr("Custom"), CustomBaud);

    dataBitsCombo->clear();
    for (qint32 bits : PortFieldLimits::DataBits) {
        dataBitsCombo->addItem(QString::number(bits), bits);
    }
    parityCombo->clear();
    parityCombo->addItem(tr("None"), 0);
    parityCombo->addItem(tr("Even"), 2);
    parityCombo->addItem(tr("Odd"), 3);
    parityCombo->addItem(tr("Mark"), 5);
    parityCombo->addItem(tr("Space"), 4);
    stopBitsCombo->clear();
    for (int stopBits : {1, 3, 2}) {
        stopBitsCombo->addItem(serialStopBitsText(stopBits), stopBits);
    }
    flowCombo->clear();
    flowCombo->addItem(tr("None"), 0);
    flowCombo->addItem(tr("RTS/CTS"), 1);
    flowCombo->addItem(tr("XON/XOFF"), 2);
    pushing = wasPushing;
}

void SettingsPanel::fillAutoFeedEnding()
{
    const bool wasPushing = std::exchange(pushing, true);
    for (QComboBox *combo : {rxLineEndingCombo, txLineEndingCombo, enterModeCombo}) {
        combo->clear();
        // Enter always sends something.
        if (combo != enterModeCombo) {
            combo->addItem(tr("None"), int(LineEndingNone));
        }
        combo->addItem(QStringLiteral("CR"), int(LineEndingCR));
        combo->addItem(QStringLiteral("LF"), int(LineEndingLF));
        combo->addItem(QStringLiteral("CR LF"), int(LineEndingCRLF));
        combo->addItem(QStringLiteral("LF CR"), int(LineEndingLFCR));
    }
    pushing = wasPushing;
}

void SettingsPanel::fillSendChecksumModes()
{
    const bool wasPushing = std::exchange(pushing, true);
    checksumCombo->clear();
    const QStringList labels = CrcCatalog::sendChecksumLabels();
    for (int mode = 0; mode < labels.size(); ++mode) {
        checksumCombo->addItem(labels.at(mode), mode);
    }
    pushing = wasPushing;
}

void SettingsPanel::fillEncodings()
{
    const bool wasPushing = std::exchange(pushing, true);
    for (QComboBox *combo : {rxFormatCombo, txFormatCombo}) {
        combo->clear();
        combo->addItem(tr("Text"), int(TextFormat));
        combo->addItem(tr("Hex"), int(HexFormat));
    }
    for (QComboBox *combo : {rxEncodingCombo, txEncodingCombo}) {
        combo->clear();
        combo->addItems(WireTextCodecRegistry::supportedEncodings());
    }
    pushing = wasPushing;
}

void SettingsPanel::fillSendTimeUnits()
{
    const bool wasPushing = std::exchange(pushing, true);
    sendTimeUnitCombo->clear();
    sendTimeUnitCombo->addItem(tr("ms"), 1);
    sendTimeUnitCombo->addItem(tr("s"), 1000);
    sendTimeUnitCombo->addItem(tr("min"), 60000);
    pushing = wasPushing;
}

void SettingsPanel::setPortSettings(const Settings &settings)
{
    port = settings;
    const bool wasPushing = std::exchange(pushing, true);
    pushPortSettings();
    syncEnabledStates();
    shownPort = readPortFields(port);
    pushing = wasPushing;
}

void SettingsPanel::setFormatSettings(const FormatSetting &formatSetting)
{
    format = formatSetting;
    const bool wasPushing = std::exchange(pushing, true);
    pushFormatSettings();
    syncEnabledStates();
    shownFormat = readFormatFields(format);
    pushing = wasPushing;
}

void SettingsPanel::updateDisplay()
{
    const bool wasPushing = std::exchange(pushing, true);
    pushPortSettings();
    pushFormatSettings();
    syncEnabledStates();
    takeSnapshot();
    edited = false;
    pushing = wasPushing;
}

void SettingsPanel::pushPortSettings()
{
    while (modeCombo->count() > ListedModes) {
        modeCombo->removeItem(modeCombo->count() - 1);
    }
    if (modeCombo->findData(int(port.connMode)) < 0) {
        // No page offers these modes, but a record may carry one; it is shown as it is.
        modeCombo->addItem(port.connMode == ModeUdpGroup ? tr("UDP Group") : tr("Unused"),
                           int(port.connMode));
    }
    selectData(modeCombo, int(port.connMode));
    portNameCombo->setEditText(port.name);

    const int baudIndex = baudCombo->findData(port.baudRate);
    if (baudIndex >= 0 && port.baudRate != CustomBaud) {
        baudCombo->setCurrentIndex(baudIndex);
    } else {
        selectData(baudCombo, CustomBaud);
        baudCombo->setEditText(QString::number(port.baudRate));
    }
    selectData(dataBitsCombo, port.dataBits);
    selectData(parityCombo, port.parity);
    selectData(stopBitsCombo, port.stopBits);
    selectData(flowCombo, port.flowControl);
    dtrBox->setChecked(port.dtrOn);
    rtsBox->setChecked(port.rtsOn);
    rfc2217UseRemoteBox->setChecked(port.useRemoteSerialConfig);

    // Newest first in the list.
    hostCombo->clear();
    for (auto it = port.targetHostList.crbegin(); it != port.targetHostList.crend(); ++it) {
        hostCombo->addItem(*it);
    }
    hostCombo->setEditText(port.targetHost);
    targetPortSpin->setValue(port.targetPort);
    udpLocalPortSpin->setValue(port.udpLocalPort);
    udpServerPortSpin->setValue(port.udpServerPort);

    showRelayTarget();
    syncModeRows();
}

void SettingsPanel::showRelayTarget()
{
    Settings relay = port;
    relay.connMode = ModeLiveRelay;
    QString target = remoteSerialPortLabel(relay);
    if (!port.relayTargetName.isEmpty()) {
        target = target.isEmpty() ? port.relayTargetName
                                  : tr("%1 on %2").arg(target, port.relayTargetName);
    }
    if (target.isEmpty() && !port.relayInviteCode.isEmpty()) {
        target = tr("Invite code %1").arg(port.relayInviteCode);
    }
    relayTargetLabel->setText(target.isEmpty() ? tr("None chosen") : target);
}

void SettingsPanel::chooseRelayTarget()
{
    RelayTargetDialog dialog(AccountSession::instance(), this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    const RelayTargetDialog::Target chosen = dialog.target();
    port.relayCid = chosen.cid;
    port.relayPortKey = chosen.portKey;
    port.relayPortName = chosen.portName;
    port.relayTargetName = chosen.deviceName;
    port.relayInviteCode = chosen.inviteCode;
    port.relayPasscode = chosen.passcode;
    port.relayGuestName = chosen.guestName;
    port.relayShareLabel.clear();
    showRelayTarget();
    userEdited();
}

void SettingsPanel::pushFormatSettings()
{
    selectData(rxFormatCombo, int(format.receiveMsgFormat == TextFormat ? TextFormat : HexFormat));
    rxEncodingCombo->setCurrentIndex(
        rxEncodingCombo->findText(WireTextCodecRegistry::normalizeName(format.receiveEncoding)));
    rxAutoFeedBox->setChecked(format.rxAutoFeedLine);
    autoFeedIntervalSpin->setValue(format.autoFeedInterval);
    selectData(rxLineEndingCombo, int(format.rxLineEndingMode));
    displayTimeBox->setChecked(format.displayMsgTime);
    rxTimeFormatEdit->setText(format.rxTimeFormat);
    txTimeFormatEdit->setText(format.txTimeFormat);
    displayBufferSpin->setValue(
        clampedInt(SettingsCodec::storedToDisplayBuffer(format.displayBufferSize), 1, MaxMib));
    font = format.logFont;
    sendColor = format.sendTextColor;
    receiveColor = format.receiveTextColor;
    showFont();
    formatDisplayColorBox->setChecked(format.formatDisplayColor);
    showColors();
    showControlLineLedsBox->setChecked(format.showControlLineLeds);

    selectData(txFormatCombo, int(format.sendMsgFormat == TextFormat ? TextFormat : HexFormat));
    txEncodingCombo->setCurrentIndex(
        txEncodingCombo->findText(WireTextCodecRegistry::normalizeName(format.sendEncoding)));
    selectData(txLineEndingCombo, int(format.txLineEndingMode));
    selectData(enterModeCombo, int(format.terminalEnterMode));
    selectData(checksumCombo, format.sendChecksum);
    sendEscapesBox->setChecked(format.sendEscapes);
    formatSendBox->setChecked(format.formatSend);
    supportCommentBox->setChecked(format.supportComment);
    displaySendBox->setChecked(format.displaySendMsg);
    localEchoBox->setChecked(format.localEcho);
    lineByLineBox->setChecked(format.lineByLine);
    autoSendBox->setChecked(format.autoSend);
    const qint32 unit = SettingsCodec::sanitizeTimeUnit(format.sendTimeUnit);
    while (sendTimeUnitCombo->count() > ListedUnits) {
        sendTimeUnitCombo->removeItem(sendTimeUnitCombo->count() - 1);
    }
    if (sendTimeUnitCombo->findData(unit) < 0) {
        sendTimeUnitCombo->addItem(tr("× %1 ms").arg(unit), unit);
    }
    selectData(sendTimeUnitCombo, unit);
    sendIntervalSpin->setValue(clampedInt(SettingsCodec::msToSpinValue(format.sendInterval, unit),
                                          MinSendInterval, MaxSendInterval));

    logSaveBox->setChecked(format.logSaveFlag);
    logAppendBox->setChecked(format.logAppend);
    logPromptBox->setChecked(format.logPromptForName);
    logStartOnConnectBox->setChecked(format.logStartOnConnect);
    logFilePathEdit->setText(format.logFilePath);
    logTimestampBox->setChecked(format.logTimestampEnabled);
    logTimestampEdit->setText(format.logFileTime);
    logRotateSizeBox->setChecked(format.logRotateAtSize);
    logRotateSizeSpin->setValue(
        clampedInt(SettingsCodec::rotateSizeBytesToMb(format.logRotateSize), 0, MaxMib));
    logRotateTimeBox->setChecked(format.logRotateAtTime);
    logRotateTimeEdit->setTime(format.logRotateTime);
    needHourBox->setChecked(format.needHourTimeStamp);
}

void SettingsPanel::takeSnapshot()
{
    shownPort = readPortFields(port);
    shownFormat = readFormatFields(format);
}

Settings SettingsPanel::readPortFields(const Settings &base) const
{
    Settings s = base;
    s.connMode = connectionModeFromInt(comboValue(modeCombo, base.connMode));
    s.name = portNameCombo->currentText().trimmed();
    s.baudRate = currentBaudRate(base.baudRate);
    // Each line parameter travels with its display text.
    if (dataBitsCombo->currentIndex() >= 0) {
        s.dataBits = dataBitsCombo->currentData().toInt();
        s.stringDataBits = QString::number(s.dataBits);
    }
    if (parityCombo->currentIndex() >= 0) {
        s.parity = parityCombo->currentData().toInt();
        s.stringParity = serialParityText(s.parity);
    }
    if (stopBitsCombo->currentIndex() >= 0) {
        s.stopBits = stopBitsCombo->currentData().toInt();
        s.stringStopBits = serialStopBitsText(s.stopBits);
    }
    if (flowCombo->currentIndex() >= 0) {
        s.flowControl = flowCombo->currentData().toInt();
        s.stringFlowControl = serialFlowControlText(s.flowControl);
    }
    s.dtrOn = dtrBox->isChecked();
    s.rtsOn = rtsBox->isChecked();
    s.useRemoteSerialConfig = rfc2217UseRemoteBox->isChecked();
    s.targetHost = hostCombo->currentText().trimmed();
    s.targetPort = targetPortSpin->value();
    s.udpLocalPort = quint16(udpLocalPortSpin->value());
    s.udpServerPort = quint16(udpServerPortSpin->value());
    return s;
}

FormatSetting SettingsPanel::readFormatFields(const FormatSetting &base) const
{
    FormatSetting f = base;
    f.receiveMsgFormat = msgFormat(comboValue(rxFormatCombo, base.receiveMsgFormat));
    if (rxEncodingCombo->currentIndex() >= 0) {
        f.receiveEncoding = rxEncodingCombo->currentText();
    }
    f.rxAutoFeedLine = rxAutoFeedBox->isChecked();
    f.autoFeedInterval = autoFeedIntervalSpin->value();
    f.rxLineEndingMode =
        lineEndingModeFromInt(comboValue(rxLineEndingCombo, base.rxLineEndingMode));
    f.displayMsgTime = displayTimeBox->isChecked();
    f.rxTimeFormat = rxTimeFormatEdit->text();
    f.txTimeFormat = txTimeFormatEdit->text();
    f.displayBufferSize = qint32(SettingsCodec::displayBufferToStored(displayBufferSpin->value()));
    f.logFont = font;
    f.formatDisplayColor = formatDisplayColorBox->isChecked();
    f.sendTextColor = sendColor;
    f.receiveTextColor = receiveColor;
    f.showControlLineLeds = showControlLineLedsBox->isChecked();

    f.sendMsgFormat = msgFormat(comboValue(txFormatCombo, base.sendMsgFormat));
    if (txEncodingCombo->currentIndex() >= 0) {
        f.sendEncoding = txEncodingCombo->currentText();
    }
    f.txLineEndingMode =
        lineEndingModeFromInt(comboValue(txLineEndingCombo, base.txLineEndingMode));
    f.terminalEnterMode = lineEndingModeFromInt(comboValue(enterModeCombo, base.terminalEnterMode));
    f.sendChecksum = comboValue(checksumCombo, base.sendChecksum);
    f.sendEscapes = sendEscapesBox->isChecked();
    f.formatSend = formatSendBox->isChecked();
    f.supportComment = supportCommentBox->isChecked();
    f.displaySendMsg = displaySendBox->isChecked();
    f.localEcho = localEchoBox->isChecked();
    f.lineByLine = lineByLineBox->isChecked();
    f.autoSend = autoSendBox->isChecked();
    f.sendTimeUnit =
        SettingsCodec::sanitizeTimeUnit(comboValue(sendTimeUnitCombo, base.sendTimeUnit));
    f.sendInterval =
        clampedInt(SettingsCodec::sendIntervalToMs(sendIntervalSpin->value(), f.sendTimeUnit), 0,
                   std::numeric_limits<qint32>::max());

    f.logSaveFlag = logSaveBox->isChecked();
    f.logAppend = logAppendBox->isChecked();
    f.logPromptForName = logPromptBox->isChecked();
    f.logStartOnConnect = logStartOnConnectBox->isChecked();
    f.logFilePath = logFilePathEdit->text().trimmed();
    f.logTimestampEnabled = logTimestampBox->isChecked();
    f.logFileTime = logTimestampEdit->text();
    f.logRotateAtSize = logRotateSizeBox->isChecked();
    f.logRotateSize = qint32(SettingsCodec::rotateSizeMbToBytes(logRotateSizeSpin->value()));
    f.logRotateAtTime = logRotateTimeBox->isChecked();
    f.logRotateTime = logRotateTimeEdit->time();
    f.needHourTimeStamp = needHourBox->isChecked();
    return f;
}

Settings SettingsPanel::portSettings() const
{
    Settings s = readPortFields(port);
    keepUnedited(s, shownPort, port, &Settings::targetPort);
    return s;
}

FormatSetting SettingsPanel::formatSettings() const
{
    FormatSetting f = readFormatFields(format);
    keepUnedited(f, shownFormat, format, &FormatSetting::autoFeedInterval);
    keepUnedited(f, shownFormat, format, &FormatSetting::displayBufferSize);
    keepUnedited(f, shownFormat, format, &FormatSetting::sendInterval,
                 &FormatSetting::sendTimeUnit);
    keepUnedited(f, shownFormat, format, &FormatSetting::logRotateSize);
    keepUnedited(f, shownFormat, format, &FormatSetting::logRotateTime);
    return f;
}

qint32 SettingsPanel::currentBaudRate(qint32 fallback) const
{
    if (!baudCombo->isEditable()) {
        const int rate = comboValue(baudCombo, fallback);
        return rate == CustomBaud ? fallback : rate;
    }
    bool ok = false;
    const int rate = baudCombo->currentText().trimmed().toInt(&ok);
    return ok && rate >= 0 && rate <= PortFieldLimits::MaxBaudRate ? rate : fallback;
}

bool SettingsPanel::validate(QString *error) const
{
    if (logSaveBox->isChecked() && logFilePathEdit->text().trimmed().size() < 3) {
        if (error) {
            *error = tr("Please input correct log file name!");
        }
        return false;
    }
    return true;
}

void SettingsPanel::commit()
{
    port = portSettings();
    format = formatSettings();
    takeSnapshot();
    edited = false;
}

void SettingsPanel::restoreDefaults()
{
    port = SettingsService::defaultPortSettings(firstUsablePortName());
    format = SettingsService::defaultFormatSettings();
    updateDisplay();
    edited = true;
    Q_EMIT settingsEdited();
}

void SettingsPanel::on_filePathButton_clicked()
{
    QString path =
        QFileDialog::getSaveFileName(this, tr("Select Log File"), logFilePathEdit->text().trimmed(),
                                     tr("Log files (*.log);;All files (*.*);;Text files (*.txt)"),
                                     nullptr, QFileDialog::DontConfirmOverwrite);
    if (path.isEmpty()) {
        return;
    }
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".log");
    }
    logFilePathEdit->setText(QDir::toNativeSeparators(path));
}

void SettingsPanel::onBaudIndexChanged()
{
    const bool custom = baudCombo->currentData().toInt() == CustomBaud;
    if (custom == baudCombo->isEditable()) {
        return;
    }
    baudCombo->setEditable(custom);
    if (!custom) {
        return;
    }
    baudCombo->setInsertPolicy(QComboBox::NoInsert);
    // Free entry: completing "1" to "115200" would get in the way.
    baudCombo->setCompleter(nullptr);
    QLineEdit *edit = baudCombo->lineEdit();
    edit->setValidator(new QIntValidator(0, PortFieldLimits::MaxBaudRate, edit));
    edit->setPlaceholderText(tr("Bits per second"));
    connect(edit, &QLineEdit::editingFinished, this, &SettingsPanel::onCustomBaudRateEntered);
    if (!pushing) {
        baudCombo->clearEditText();
        edit->setFocus();
    }
}

void SettingsPanel::onCustomBaudRateEntered()
{
    bool ok = false;
    const int rate = baudCombo->currentText().trimmed().toInt(&ok);
    baudCombo->setToolTip(ok && rate >= 0 && rate <= PortFieldLimits::MaxBaudRate
                              ? tr("Serial transfer speed")
                              : tr("Enter a rate from 0 to 100000000 bits per second"));
}

void SettingsPanel::syncModeRows()
{
    const connectionMode mode = connectionModeFromInt(comboValue(modeCombo, port.connMode));
    const bool serial = mode == ModeSerial;
    const bool remote = connectionModeIsRemoteSerial(mode);
    const bool udpClient = mode == ModeUdpClient || mode == ModeUdpGroup;
    const bool hasHost = mode == ModeTcpClient || mode == ModeRemoteSerial || udpClient;
    connectionForm->setRowVisible(portNameCombo, serial);
    // A remote serial port takes our line parameters unless it keeps its own.
    for (QWidget *field :
         {static_cast<QWidget *>(baudCombo), static_cast<QWidget *>(dataBitsCombo),
          static_cast<QWidget *>(parityCombo), static_cast<QWidget *>(stopBitsCombo),
          static_cast<QWidget *>(flowCombo)}) {
        connectionForm->setRowVisible(field, serial || remote);
    }
    connectionForm->setRowVisible(controlLinesRow, serial);
    connectionForm->setRowVisible(hostCombo, hasHost);
    connectionForm->setRowVisible(targetPortSpin, hasHost || mode == ModeTcpServer);
    connectionForm->setRowVisible(udpLocalPortSpin, udpClient);
    connectionForm->setRowVisible(udpServerPortSpin, mode == ModeUdpServer);
    connectionForm->setRowVisible(relayTargetRow, mode == ModeLiveRelay);
    connectionForm->setRowVisible(rfc2217UseRemoteBox, remote);
    if (auto *label = qobject_cast<QLabel *>(connectionForm->labelForField(targetPortSpin))) {
        label->setText(mode == ModeTcpServer ? tr("Listen port") : tr("Remote port"));
    }
}

void SettingsPanel::syncEnabledStates()
{
    const connectionMode mode = connectionModeFromInt(comboValue(modeCombo, port.connMode));
    const bool lineParams =
        !connectionModeIsRemoteSerial(mode) || !rfc2217UseRemoteBox->isChecked();
    for (QWidget *field :
         {static_cast<QWidget *>(baudCombo), static_cast<QWidget *>(dataBitsCombo),
          static_cast<QWidget *>(parityCombo), static_cast<QWidget *>(stopBitsCombo),
          static_cast<QWidget *>(flowCombo)}) {
        field->setEnabled(lineParams);
    }
    // RTS/CTS flow control drives RTS itself.
    rtsBox->setEnabled(comboValue(flowCombo, port.flowControl) != 1);
    autoFeedIntervalSpin->setEnabled(rxAutoFeedBox->isChecked());
    rxTimeFormatEdit->setEnabled(displayTimeBox->isChecked());
    txTimeFormatEdit->setEnabled(displayTimeBox->isChecked());
    sendColorButton->setEnabled(formatDisplayColorBox->isChecked());
    receiveColorButton->setEnabled(formatDisplayColorBox->isChecked());
    logTimestampEdit->setEnabled(logTimestampBox->isChecked());
    logRotateSizeSpin->setEnabled(logRotateSizeBox->isChecked());
    logRotateTimeEdit->setEnabled(logRotateTimeBox->isChecked());
}

void SettingsPanel::showFont()
{
    fontLabel->setText(SettingsCodec::fontToDisplayString(font));
    // The face of the chosen font at the size of the page's own text.
    QFont preview = resolveDisplayFont(font);
    preview.setPointSizeF(QWidget::font().pointSizeF());
    fontLabel->setFont(preview);
}

void SettingsPanel::showColors()
{
    receiveColorButton->setText(
        tr("Received %1").arg(SettingsCodec::colorToDisplayString(receiveColor)));
    receiveColorButton->setIcon(colorSwatch(receiveColor));
    sendColorButton->setText(tr("Sent %1").arg(SettingsCodec::colorToDisplayString(sendColor)));
    sendColorButton->setIcon(colorSwatch(sendColor));
}

void SettingsPanel::chooseFont()
{
    bool ok = false;
    const QFont chosen =
        QFontDialog::getFont(&ok, resolveDisplayFont(font), this, tr("Display Font"));
    if (!ok) {
        return;
    }
    font = displayFontOf(chosen);
    showFont();
    userEdited();
}

void SettingsPanel::chooseColor(QString *color, const QString &title)
{
    const QColor chosen = QColorDialog::getColor(QColor(*color), this, title);
    if (!chosen.isValid()) {
        return;
    }
    *color = chosen.name();
    showColors();
    userEdited();
}

void SettingsPanel::userEdited()
{
    syncEnabledStates();
    if (!pushing) {
        edited = true;
        Q_EMIT settingsEdited();
    }
}
