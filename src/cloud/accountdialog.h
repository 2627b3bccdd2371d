#pragma once

#include <QDialog>

class AccountSession;
class QCheckBox;
class QJsonObject;
class QLabel;
class QLineEdit;
class QPushButton;
class QTabWidget;
class QTimer;

// Sign in, or create an account with a code mailed to the address. A reply that carries
// tokens signs this computer in (bound as a device) and closes the dialog; anything else
// is said in the dialog, which stays open.
class AccountDialog : public QDialog
{
    Q_OBJECT
public:
    // How long the dialog waits for an answer before it gives up on one.
    static constexpr int ReplyWaitMs = 12000;

    explicit AccountDialog(QWidget *parent = nullptr, AccountSession *session = nullptr);

    void showRegisterPage();
    QString statusText() const;
    bool isWorking() const;

    void signIn();
    void sendCode();
    void createAccount();

private:
    QWidget *buildSignInPage();
    QWidget *buildRegisterPage();
    // Consent first: online features stay off until the user allows them.
    bool consentReady();
    void setWorking(const QString &text);
    void setStatus(const QString &text, bool error);
    void onReply(const QJsonObject &object);
    void onNetworkError(const QString &tag, const QString &message);
    QString cid() const;
    QString deviceName() const;

    AccountSession *session = nullptr;
    QTabWidget *pages = nullptr;
    QLineEdit *emailEdit = nullptr;
    QLineEdit *passwordEdit = nullptr;
    QCheckBox *rememberBox = nullptr;
    QPushButton *signInButton = nullptr;
    QLineEdit *regEmailEdit = nullptr;
    QLineEdit *regUsernameEdit = nullptr;
    QLineEdit *regPasswordEdit = nullptr;
    QLineEdit *regConfirmEdit = nullptr;
    QLineEdit *regCodeEdit = nullptr;
    QPushButton *sendCodeButton = nullptr;
    QCheckBox *termsBox = nullptr;
    QPushButton *registerButton = nullptr;
    QLabel *statusLabel = nullptr;
    QTimer *replyTimer = nullptr;
    bool working = false;
};
