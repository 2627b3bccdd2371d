#include "common/logging.h"

Q_LOGGING_CATEGORY(lcApp, "vlm.app")
Q_LOGGING_CATEGORY(lcTerminal, "vlm.terminal")
Q_LOGGING_CATEGORY(lcCloud, "vlm.cloud")
