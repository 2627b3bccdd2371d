#include "app/mainwindow.h"

#include "session/serialportwidget.h"

#include <QAction>
#include <QCloseEvent>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setWindowTitle(tr("Velmora"));
    port = new SerialPortWidget(this);
    port->setPortNumber(0);
    port->setWindowFlags(Qt::Widget);
    setCentralWidget(port);
    connect(port, &SerialPortWidget::statusShown, statusBar(), &QStatusBar::showMessage);
    createActions();
}

MainWindow::~MainWindow() = default;

SerialPortWidget *MainWindow::portWidget(int index) const
{
    return index == 0 ? port : nullptr;
}

void MainWindow::createActions()
{
    QMenu *fileMenu = menuBar()->addMenu(tr("&File"));
    QAction *quit = fileMenu->addAction(tr("E&xit"));
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, this, &QWidget::close);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (port->portState() != SerialPortWidget::Stopped) {
        port->stop();
    }
    event->accept();
}
