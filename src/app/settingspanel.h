#pragma once

#include "connection/settings.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QTimeEdit;

// The full page of one connection's settings: what the port is connected to, how
// received data is shown, how data is sent, and how the port logs. The page edits a
// copy of the two records; commit() takes the page into that copy.
//
// Fields that cannot show every stored value exactly (sizes in MiB, the send interval
// in its unit, a time of day to the second, numbers beyond a spin box's range, a choice
// no list offers) give back the stored value as long as the user leaves them alone, so
// opening and closing the page never changes a record.
class SettingsPanel : public QWidget
{
    Q_OBJECT
public:
    explicit SettingsPanel(QWidget *parent = nullptr);

    // Takes the records and shows them; this counts as no user edit.
    void setPortSettings(const Settings &settings);
    void setFormatSettings(const FormatSetting &format);

    // The page as records: the fields over the records last set or committed.
    Settings portSettings() const;
    FormatSetting formatSettings() const;

    // Whether the page can be committed; `error` (may be null) says why not.
    bool validate(QString *error) const;
    // Takes the page into the records; what the page shows then counts as unedited.
    void commit();
    // The records of a new connection on the first usable serial port; a user edit.
    void restoreDefaults();
    // Fills every list of choices and shows the records.
    void initialPara();
    // Shows the records in the fields; this counts as no user edit.
    void updateDisplay();
    // Whether the user changed a field since the records were last shown or committed.
    bool hasUserEdits() const { return edited; }

    // Lists of choices. fillPortsInfo() may be called again to refresh the port list;
    // the name in the box stays, listed or not.
    void fillPortsInfo();
    void fillPortsParameters();
    void fillConnectionModeParameters();
    void fillAutoFeedEnding();
    void fillSendChecksumModes();

signals:
    void settingsEdited();

private slots:
    void on_filePathButton_clicked();

private:
    QWidget *buildConnectionGroup();
    QWidget *buildReceiveGroup();
    QWidget *buildSendGroup();
    QWidget *buildLogGroup();
    void connectEditSignals();

    void fillEncodings();
    void fillSendTimeUnits();
    void pushPortSettings();
    void pushFormatSettings();
    void takeSnapshot();

    Settings readPortFields(const Settings &base) const;
    FormatSetting readFormatFields(const FormatSetting &base) const;
    qint32 currentBaudRate(qint32 fallback) const;

    void onBaudIndexChanged();
    void onCustomBaudRateEntered();
    void syncModeRows();
    void showRelayTarget();
    void chooseRelayTarget();
    void syncEnabledStates();
    void showFont();
    void showColors();
    void chooseFont();
    void chooseColor(QString *color, const QString &title);
    void userEdited();

    // The records the page edits, and what the fields read as right after showing them.
    Settings port;
    FormatSetting format;
    Settings shownPort;
    FormatSetting shownFormat;
    // Edited by dialogs rather than by fields of their own.
    DisplayFont font;
    QString sendColor;
    QString receiveColor;

    QFormLayout *connectionForm = nullptr;
    QComboBox *modeCombo = nullptr;
    QComboBox *portNameCombo = nullptr;
    QComboBox *baudCombo = nullptr;
    QComboBox *dataBitsCombo = nullptr;
    QComboBox *parityCombo = nullptr;
    QComboBox *stopBitsCombo = nullptr;
    QComboBox *flowCombo = nullptr;
    QWidget *controlLinesRow = nullptr;
    QCheckBox *dtrBox = nullptr;
    QCheckBox *rtsBox = nullptr;
    QComboBox *hostCombo = nullptr;
    QSpinBox *targetPortSpin = nullptr;
    QSpinBox *udpLocalPortSpin = nullptr;
    QSpinBox *udpServerPortSpin = nullptr;
    QLabel *relayTargetLabel = nullptr;
    QWidget *relayTargetRow = nullptr;
    QCheckBox *rfc2217UseRemoteBox = nullptr;

    QComboBox *rxFormatCombo = nullptr;
    QComboBox *rxEncodingCombo = nullptr;
    QCheckBox *rxAutoFeedBox = nullptr;
    QSpinBox *autoFeedIntervalSpin = nullptr;
    QComboBox *rxLineEndingCombo = nullptr;
    QCheckBox *displayTimeBox = nullptr;
    QLineEdit *rxTimeFormatEdit = nullptr;
    QLineEdit *txTimeFormatEdit = nullptr;
    QSpinBox *displayBufferSpin = nullptr;
    QLabel *fontLabel = nullptr;
    QCheckBox *formatDisplayColorBox = nullptr;
    QPushButton *sendColorButton = nullptr;
    QPushButton *receiveColorButton = nullptr;
    QCheckBox *showControlLineLedsBox = nullptr;

    QComboBox *txFormatCombo = nullptr;
    QComboBox *txEncodingCombo = nullptr;
    QComboBox *txLineEndingCombo = nullptr;
    QComboBox *enterModeCombo = nullptr;
    QComboBox *checksumCombo = nullptr;
    QCheckBox *sendEscapesBox = nullptr;
    QCheckBox *formatSendBox = nullptr;
    QCheckBox *supportCommentBox = nullptr;
    QCheckBox *displaySendBox = nullptr;
    QCheckBox *localEchoBox = nullptr;
    QCheckBox *lineByLineBox = nullptr;
    QCheckBox *autoSendBox = nullptr;
    QSpinBox *sendIntervalSpin = nullptr;
    QComboBox *sendTimeUnitCombo = nullptr;

    QCheckBox *logSaveBox = nullptr;
    QCheckBox *logAppendBox = nullptr;
    QCheckBox *logPromptBox = nullptr;
    QCheckBox *logStartOnConnectBox = nullptr;
    QLineEdit *logFilePathEdit = nullptr;
    QCheckBox *logTimestampBox = nullptr;
    QLineEdit *logTimestampEdit = nullptr;
    QCheckBox *logRotateSizeBox = nullptr;
    QSpinBox *logRotateSizeSpin = nullptr;
    QCheckBox *logRotateTimeBox = nullptr;
    QTimeEdit *logRotateTimeEdit = nullptr;
    QCheckBox *needHourBox = nullptr;

    bool pushing = false;
    bool edited = false;
};
