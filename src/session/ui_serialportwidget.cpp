#include "session/ui_serialportwidget.h"

#include "app/connectionsettingswidget.h"
#include "session/controllineledrow.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

namespace {
QString tr(const char *text)
{
    return QCoreApplication::translate("SerialPortWidget", text);
}
} // namespace

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
