#pragma once

// One settings sync run: fetch the cloud item, compare its revision with the one this
// computer last agreed with ("AccountSyncRevision"), then upload, or on a difference
// defer (automatic runs) or ask the user (manual runs), and carry out the choice.

#include "app/settingsservice.h"

#include <QJsonObject>
#include <QObject>
#include <QString>

#include <functional>

class AccountSession;
class NetworkServices;

class SessionSyncCoordinator : public QObject
{
    Q_OBJECT
public:
    enum Mode { Manual = 0, Auto = 1 };
    enum class ConflictChoice { UseCloud, KeepLocal, MergeLists, Cancel };
    enum class State { Idle, WaitingForToken, Fetching, Choosing, Uploading };

    struct Hooks
    {
        std::function<SessionState()> currentState;
        std::function<void(const SessionState &)> applyState;
        // Asked when a manual run finds nobody signed in (the shell offers the sign-in);
        // true when the run may go on.
        std::function<bool()> confirmSync;
    };

    // A coordinator of the program's account and network client.
    explicit SessionSyncCoordinator(Hooks hooks, QObject *parent = nullptr);
    // One of `session`, keeping its sync keys where the session keeps its own.
    SessionSyncCoordinator(Hooks hooks, AccountSession *session, QObject *parent = nullptr);

    void start(Mode mode);
    void handleSyncResponse(const QJsonObject &object);
    void handleAccountResponse(bool ok, const QString &text);
    void handleNetworkError(const QString &tag, const QString &message = QString());
    void resolveConflict(ConflictChoice choice);

    State state() const { return current; }
    Mode mode() const { return runMode; }
    // The cloud item a manual run waits on a choice for.
    QJsonObject pendingItem() const { return cloudItem; }

signals:
    void began();
    void succeeded(bool changed);
    void failed(const QString &text, bool manual);
    void cancelled();
    void conflictDeferred();
    void conflictChoiceNeeded();
    void cloudApplied(const SessionState &state, int language);
    void listsMerged(const SessionState &state);
    void incompatible();
    void signInExpired(const QString &text, bool manual);

private:
    void fetch();
    void handleFetchedItem(const QJsonObject &item);
    void uploadSnapshot(qint64 baseRevision);
    void finish();
    void storeAgreedRevision(qint64 revision);
    qint64 agreedRevision() const;
    QString cid() const;
    int language() const;

    Hooks hooks;
    AccountSession *session = nullptr;
    NetworkServices *net = nullptr;
    State current = State::Idle;
    Mode runMode = Manual;
    QJsonObject cloudItem;
    bool localChanged = false;
};
