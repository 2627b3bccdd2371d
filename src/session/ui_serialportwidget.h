#pragma once

#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QStringList>

// The widgets of a port panel, built in code.

class ConnectionSettingsWidget;
class HexInputHighlighter;
class SequenceBar;
class ControlLineLedRow;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QRadioButton;
class QSpinBox;
class QToolButton;
class QWidget;
class QLabel;
class QMainWindow;
class QPlainTextEdit;
class QPushButton;
class QSplitter;

class Ui_SerialPortWidget
{
    Q_DECLARE_TR_FUNCTIONS(SerialPortWidget)

public:
    QSplitter *splitter = nullptr;
    QSplitter *dataSplitter = nullptr; // the receive view above the send area
    ConnectionSettingsWidget *connectionSettings = nullptr;
    QPushButton *openButton = nullptr;
    QPushButton *pauseButton = nullptr;
    QPushButton *clearButton = nullptr;
    // The receive view. A plain-text layout, because it lays a 256 KiB display tick out
    // about six times faster than the rich-text browser, and colours still work per run.
    QPlainTextEdit *receiveBrowser = nullptr;
    // Over the view's bottom right while it does not follow new data.
    QToolButton *followButton = nullptr;
    ControlLineLedRow *ledRow = nullptr;
    QToolButton *viewButton = nullptr; // opens the panel's View menu
    QLabel *peerLabel = nullptr;
    QComboBox *peerCombo = nullptr;
    // Receive settings.
    QGroupBox *receiveGroup = nullptr;
    QRadioButton *textReceiveRadio = nullptr;
    QRadioButton *hexReceiveRadio = nullptr;
    QComboBox *receiveEncodingCombo = nullptr;
    QCheckBox *rxAutoFeedBox = nullptr;
    QSpinBox *autoFeedIntervalSpin = nullptr;
    QCheckBox *displayTimeBox = nullptr;
    QCheckBox *logSaveBox = nullptr;
    QToolButton *logPathButton = nullptr;

    // Send settings.
    QGroupBox *sendGroup = nullptr;
    QRadioButton *textSendRadio = nullptr;
    QRadioButton *hexSendRadio = nullptr;
    QComboBox *sendEncodingCombo = nullptr;
    QCheckBox *autoSendBox = nullptr;
    QSpinBox *sendIntervelSB = nullptr;
    QComboBox *txLineEndingCombo = nullptr;
    QComboBox *terminalEnterCombo = nullptr;
    QComboBox *checksumCombo = nullptr;
    QCheckBox *sendEscapesBox = nullptr;
    QCheckBox *formatSendBox = nullptr;
    QCheckBox *displaySendBox = nullptr;
    QCheckBox *localEchoBox = nullptr;
    QCheckBox *cbLinebyLine = nullptr;

    QComboBox *sendBox = nullptr; // the send history
    QToolButton *autoReplyBadge = nullptr;
    SequenceBar *sequenceBar = nullptr;
    QPlainTextEdit *sendTextEdit = nullptr;
    HexInputHighlighter *hexHighlighter = nullptr;
    QPushButton *sendButton = nullptr;
    QLabel *statusLabel = nullptr;
    QLabel *counterLabel = nullptr;
    QLabel *logLabel = nullptr;

    void setupUi(QMainWindow *window);

    // Shows the listed fields of a settings group in that order (fields that are not
    // optional stay below them) and hides the rest.
    void applyFieldLayout(QGroupBox *group, const QStringList &visibleFields);
    void applyGroupOrder(const QStringList &order, const QStringList &visible);
    QWidget *settingsColumn = nullptr;
    QGroupBox *connectionGroup = nullptr;
    // The quick settings column folds to `collapsedStrip`, a narrow strip with one
    // button; `settingsHost` holds both and is the splitter's first pane.
    QWidget *settingsHost = nullptr;
    QWidget *settingsScroll = nullptr;
    QWidget *collapsedStrip = nullptr;
    QToolButton *collapseButton = nullptr;
    QToolButton *expandButton = nullptr;
    // Open/Close, Pause/Resume and Clear stay at hand on the folded strip.
    QToolButton *stripOpenButton = nullptr;
    QToolButton *stripPauseButton = nullptr;
    QToolButton *stripClearButton = nullptr;

private:
    void setupReceiveGroup(QWidget *parent);
    void setupSendGroup(QWidget *parent);
    QWidget *fieldRow(QGroupBox *group, const QString &id, const QString &label, const QString &tip,
                      const QList<QWidget *> &widgets);

    QHash<QGroupBox *, QHash<QString, QWidget *>> fieldRows;
    const QStringList alwaysShownFields = {QStringLiteral("rxLog"), QStringLiteral("txEscapes")};
};
