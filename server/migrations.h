#pragma once

// The store's schema as numbered steps. A store remembers the steps it has run; a
// server runs the missing ones at start. Steps are only ever appended: a released
// step is never edited.

#include "database.h"

#include <QList>
#include <QStringList>

struct Migration
{
    int version = 0;
    QStringList statements;
};

QList<Migration> migrations(Database::Kind kind);
