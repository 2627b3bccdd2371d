#pragma once

// The server's logging categories: "vlm.server" for start, stop and failures,
// "vlm.server.access" for one line per request (turn it off with
// QT_LOGGING_RULES="vlm.server.access=false"). No line ever carries a token, a
// password, a code or a query string.

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcServer)
Q_DECLARE_LOGGING_CATEGORY(lcAccess)
