#include "connection/displayfont.h"

#include "connection/settings.h"

#include <QFontDatabase>

#include <algorithm>

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

QFont resolveDisplayFont(const DisplayFont &font)
{
    QFont resolved = resolveDisplayFont(font.family, font.pointSize);
    if (font.weight > 0) {
        resolved.setWeight(QFont::Weight(std::clamp(font.weight, 1, 1000)));
    }
    resolved.setItalic(font.italic);
    return resolved;
}

DisplayFont displayFontOf(const QFont &font)
{
    return {font.family(), font.pointSize() < 1 ? 12 : font.pointSize(), int(font.weight()),
            font.italic()};
}
