#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

// "Privacy and Online Features": what goes online and the service's privacy page, with
// "Allow" / "Not Now" before the consent and "Keep Online Features On" / "Turn Off
// Online Features" once it is given.
class PrivacyConsentDialog : public QDialog
{
    Q_OBJECT
public:
    explicit PrivacyConsentDialog(QWidget *parent = nullptr);

    void allow();
    void turnOff();

private:
    QLabel *body = nullptr;
    QPushButton *primary = nullptr;
    QPushButton *secondary = nullptr;
};
