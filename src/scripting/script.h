#pragma once

// One user script: a name and its Lua source.

#include <QString>

struct Script
{
    QString name;   // at most 80 characters
    QString source; // at most 262144 bytes as UTF-8

    bool operator==(const Script &) const = default;
};
