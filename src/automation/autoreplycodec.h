#pragma once

// A port's auto reply set-up in a QSettings store: the project file keeps it under
// "<port group>/AutoReply", the last-used state under "LastAutoReply". Rule keys lie
// under the rule's number from 0. Reading is tolerant: numbers are clamped, unknown
// values fall back to defaults, nothing is refused.

#include "automation/autoreplyengine.h"

#include <QCoreApplication>
#include <QString>

class QSettings;

class AutoReplyCodec
{
    Q_DECLARE_TR_FUNCTIONS(AutoReplyCodec)

public:
    static constexpr int MaxRules = 256;

    // "<portGroup>/AutoReply", the group of a port in the project file.
    static QString projectPrefix(const QString &portGroup);
    // "LastAutoReply", the group of the last-used state.
    static QString lastUsedPrefix();

    // Writes the switches, the count and every rule, then removes the keys of rule
    // numbers at or above the count that an earlier, longer list left behind.
    static void save(QSettings &settings, const QString &prefix, const AutoReplyConfig &config);
    static AutoReplyConfig load(QSettings &settings, const QString &prefix);
};
