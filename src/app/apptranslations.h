#pragma once

#include <QString>
#include <QStringList>

class QTranslator;

// Which interface language to use, and where its translations are.
class AppTranslations
{
public:
    // The stored language choice ("ValueL"): any value other than these two is English.
    enum Choice {
        FollowSystem = 0,
        Chinese = 1,
    };

    // Simplified Chinese when chosen, or when following a system whose locale is
    // exactly "zh_CN".
    static bool wantsChinese(int choice, const QString &localeName);
    // Where Qt's own translations may be, most specific first.
    static QStringList qtBaseSearchDirs();
    // Loads "qtbase_<locale>" from the first folder that has it.
    static bool loadQtBase(QTranslator &translator, const QString &locale, const QStringList &dirs);
    // Loads the program's own translation for `locale` from its resources.
    static bool loadApp(QTranslator &translator, const QString &locale);
};
