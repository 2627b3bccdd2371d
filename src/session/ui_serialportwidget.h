#pragma once

// The widgets of a port panel, built in code.

class ConnectionSettingsWidget;
class ControlLineLedRow;
class QComboBox;
class QLabel;
class QMainWindow;
class QPlainTextEdit;
class QPushButton;
class QSplitter;

class Ui_SerialPortWidget
{
public:
    QSplitter *splitter = nullptr;
    ConnectionSettingsWidget *connectionSettings = nullptr;
    QPushButton *openButton = nullptr;
    QPushButton *pauseButton = nullptr;
    QPushButton *clearButton = nullptr;
    // The receive view. A plain-text layout, because it lays a 256 KiB display tick out
    // about six times faster than the rich-text browser, and colours still work per run.
    QPlainTextEdit *receiveBrowser = nullptr;
    ControlLineLedRow *ledRow = nullptr;
    QLabel *peerLabel = nullptr;
    QComboBox *peerCombo = nullptr;
    QPlainTextEdit *sendTextEdit = nullptr;
    QPushButton *sendButton = nullptr;
    QLabel *statusLabel = nullptr;
    QLabel *counterLabel = nullptr;
    QLabel *logLabel = nullptr;

    void setupUi(QMainWindow *window);
};
