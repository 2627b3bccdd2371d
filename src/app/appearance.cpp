#include "app/appearance.h"

#include <QApplication>
#include <QStyle>
#include <QStyleFactory>

namespace {

AppearanceMode appliedMode = AppearanceMode::Light;

struct Scheme
{
    QColor window, windowText, base, alternateBase, toolTipBase, toolTipText, text, button,
        buttonText, brightText, highlight, highlightedText, link, linkVisited, light, midlight, mid,
        dark, shadow, placeholder, disabledText, disabledBase, disabledHighlight;
};

QPalette makePalette(const Scheme &s)
{
    QPalette p;
    p.setColor(QPalette::Window, s.window);
    p.setColor(QPalette::WindowText, s.windowText);
    p.setColor(QPalette::Base, s.base);
    p.setColor(QPalette::AlternateBase, s.alternateBase);
    p.setColor(QPalette::ToolTipBase, s.toolTipBase);
    p.setColor(QPalette::ToolTipText, s.toolTipText);
    p.setColor(QPalette::Text, s.text);
    p.setColor(QPalette::Button, s.button);
    p.setColor(QPalette::ButtonText, s.buttonText);
    p.setColor(QPalette::BrightText, s.brightText);
    p.setColor(QPalette::Highlight, s.highlight);
    p.setColor(QPalette::HighlightedText, s.highlightedText);
    p.setColor(QPalette::Link, s.link);
    p.setColor(QPalette::LinkVisited, s.linkVisited);
    p.setColor(QPalette::Light, s.light);
    p.setColor(QPalette::Midlight, s.midlight);
    p.setColor(QPalette::Mid, s.mid);
    p.setColor(QPalette::Dark, s.dark);
    p.setColor(QPalette::Shadow, s.shadow);
    p.setColor(QPalette::PlaceholderText, s.placeholder);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        p.setColor(QPalette::Disabled, role, s.disabledText);
    }
    p.setColor(QPalette::Disabled, QPalette::Base, s.disabledBase);
    p.setColor(QPalette::Disabled, QPalette::Highlight, s.disabledHighlight);
    return p;
}

} // namespace

int Appearance::toSetting(AppearanceMode mode)
{
    return static_cast<int>(mode);
}

AppearanceMode Appearance::fromSetting(const QVariant &value)
{
    bool ok = false;
    const int number = value.toInt(&ok);
    if (ok) {
        return number == toSetting(AppearanceMode::Dark) ? AppearanceMode::Dark
                                                         : AppearanceMode::Light;
    }
    return value.toString().trimmed().compare(QLatin1String("dark"), Qt::CaseInsensitive) == 0
               ? AppearanceMode::Dark
               : AppearanceMode::Light;
}

QPalette Appearance::lightPalette()
{
    return makePalette({QColor(0xef, 0xef, 0xef),
                        Qt::black,
                        Qt::white,
                        QColor(0xf7, 0xf7, 0xf7),
                        QColor(0xff, 0xff, 0xdc),
                        Qt::black,
                        Qt::black,
                        QColor(0xef, 0xef, 0xef),
                        Qt::black,
                        Qt::white,
                        QColor(0x30, 0x8c, 0xc6),
                        Qt::white,
                        QColor(0x00, 0x00, 0xff),
                        QColor(0xff, 0x00, 0xff),
                        Qt::white,
                        QColor(0xca, 0xca, 0xca),
                        QColor(0xb8, 0xb8, 0xb8),
                        QColor(0x9f, 0x9f, 0x9f),
                        QColor(0x76, 0x76, 0x76),
                        QColor(0x80, 0x80, 0x80),
                        QColor(0xbe, 0xbe, 0xbe),
                        QColor(0xef, 0xef, 0xef),
                        QColor(0x91, 0x91, 0x91)});
}

QPalette Appearance::darkPalette()
{
    return makePalette({QColor(0x2d, 0x2d, 0x30),
                        QColor(0xe6, 0xe6, 0xe6),
                        QColor(0x1e, 0x1e, 0x1e),
                        QColor(0x26, 0x26, 0x28),
                        QColor(0x3c, 0x3c, 0x3c),
                        QColor(0xe6, 0xe6, 0xe6),
                        QColor(0xe6, 0xe6, 0xe6),
                        QColor(0x35, 0x35, 0x37),
                        QColor(0xe6, 0xe6, 0xe6),
                        QColor(0xff, 0x55, 0x55),
                        QColor(0x2a, 0x82, 0xda),
                        Qt::white,
                        QColor(0x5a, 0xa9, 0xff),
                        QColor(0xb2, 0x8c, 0xff),
                        QColor(0x4a, 0x4a, 0x4d),
                        QColor(0x3e, 0x3e, 0x41),
                        QColor(0x2a, 0x2a, 0x2c),
                        QColor(0x1a, 0x1a, 0x1b),
                        Qt::black,
                        QColor(0x8c, 0x8c, 0x8c),
                        QColor(0x7f, 0x7f, 0x7f),
                        QColor(0x2d, 0x2d, 0x30),
                        QColor(0x50, 0x50, 0x50)});
}

void Appearance::apply(AppearanceMode mode)
{
    appliedMode = mode;
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        return;
    }
    // Both palettes are drawn for Fusion; native styles of some platforms ignore
    // palettes, which would leave the dark mode half applied.
    if (QApplication::style()->name().compare(QLatin1String("fusion"), Qt::CaseInsensitive)) {
        if (QStyle *fusion = QStyleFactory::create(QStringLiteral("Fusion"))) {
            QApplication::setStyle(fusion);
        }
    }
    QApplication::setPalette(mode == AppearanceMode::Dark ? darkPalette() : lightPalette());
}

AppearanceMode Appearance::current()
{
    return appliedMode;
}
