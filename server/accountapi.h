#pragma once

// Accounts: the registration code, registration, sign-in, token refresh, sign-out and
// the caller's own account.

#include "router.h"

class BodyReader;
class ServerContext;
struct UserRecord;

class AccountApi
{
public:
    explicit AccountApi(ServerContext &context);
    void addRoutes(Router &router);

private:
    void sendCode(const ApiRequest &request, const Router::Done &done);
    void registerAccount(const ApiRequest &request, const Router::Done &done);
    void login(const ApiRequest &request, const Router::Done &done);
    void refresh(const ApiRequest &request, const Router::Done &done);
    void logout(const ApiRequest &request, const Router::Done &done);
    void me(const ApiRequest &request, const Router::Done &done);

    // The device fields of a register or login body, as read and checked.
    struct DeviceFields
    {
        QString cid;
        QString name;
        QString clientVersion;
    };
    static DeviceFields readDevice(BodyReader &body);
    // Opens a session for `user` (binding the device when a cid came) and answers
    // with the user and a token pair.
    void signIn(const UserRecord &user, const DeviceFields &device, const QString &message,
                const Router::Done &done);

    ServerContext &context;
};
