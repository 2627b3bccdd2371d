#pragma once

#include <QMainWindow>

class SerialPortWidget;

// The application window. For now it holds a single port panel.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    SerialPortWidget *portWidget(int index) const;
    int portCount() const { return 1; }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void createActions();

    SerialPortWidget *port = nullptr;
};
