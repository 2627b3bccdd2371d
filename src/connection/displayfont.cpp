#include "connection/displayfont.h"

#include <QFontDatabase>

QFont resolveDisplayFont(const QString &family, int pointSize)
{
    const int size = pointSize < 1 ? 12 : pointSize;
    if (!family.isEmpty() && QFontDatabase::families().contains(family, Qt::CaseInsensitive)) {
        return QFont(family, size);
    }
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::TypeWriter);
    font.setFixedPitch(true);
    font.setPointSize(size);
    return font;
}
