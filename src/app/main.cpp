#include "app/mainwindow.h"

#include <QApplication>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcApp, "vlm.app")

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("NORVANE"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("norvane.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmora"));
    qCInfo(lcApp) << "arguments" << QCoreApplication::arguments();

    MainWindow window;
    window.resize(1000, 800);
    window.show();
    return QApplication::exec();
}
