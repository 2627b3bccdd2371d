#include "app/apptranslations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

bool AppTranslations::wantsChinese(int choice, const QString &localeName)
{
    if (choice == FollowSystem) {
        // The translation is written for the mainland: only that locale selects it.
        return localeName == QLatin1String("zh_CN");
    }
    return choice == Chinese;
}

QStringList AppTranslations::qtBaseSearchDirs()
{
    return {QCoreApplication::applicationDirPath() + QStringLiteral("/translations"),
            QLibraryInfo::path(QLibraryInfo::TranslationsPath),
            QStringLiteral("/usr/share/qt6/translations")};
}

bool AppTranslations::loadQtBase(QTranslator &translator, const QString &locale,
                                 const QStringList &dirs)
{
    for (const QString &dir : dirs) {
        if (translator.load(QStringLiteral("qtbase_") + locale, dir)) {
            return true;
        }
    }
    return false;
}

bool AppTranslations::loadApp(QTranslator &translator, const QString &locale)
{
    return translator.load(QStringLiteral("velmora_") + locale, QStringLiteral(":/i18n"));
}
