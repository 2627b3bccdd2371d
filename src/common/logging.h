#pragma once

// The program's logging categories: "vlm.app" for start-up, windows and projects,
// "vlm.terminal" for ports and their files, "vlm.cloud" for the cloud client.

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcTerminal)
Q_DECLARE_LOGGING_CATEGORY(lcCloud)
