#include "AppearanceFollower.h"

#include "LauncherStyle.h"

#include <QGuiApplication>
#include <QStyleHints>

namespace {

Appearance::Scheme schemeOf(const QPalette &palette)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    if (const auto scheme = QGuiApplication::styleHints()->colorScheme(); scheme != Qt::ColorScheme::Unknown)
        return scheme == Qt::ColorScheme::Dark ? Appearance::Scheme::Dark : Appearance::Scheme::Light;
#endif
    const bool isDark
        = palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
    return isDark ? Appearance::Scheme::Dark : Appearance::Scheme::Light;
}

Appearance::Scheme schemeOf(DesktopSettings::Scheme scheme)
{
    return scheme == DesktopSettings::Scheme::Dark ? Appearance::Scheme::Dark : Appearance::Scheme::Light;
}

QColor accentOf(const QPalette &palette, const QPalette &plain)
{
    const QColor accent = palette.color(QPalette::Active, QPalette::Highlight);
    return accent == plain.color(QPalette::Active, QPalette::Highlight) ? QColor() : accent;
}

QColor colourOf(const DesktopSettings::Colour &colour)
{
    return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                            static_cast<float>(colour.blue));
}

}

Appearance appearanceOf(const DesktopSettings &settings, const QPalette &desktop, const QPalette &plain)
{
    Appearance appearance;
    appearance.scheme = settings.scheme ? schemeOf(*settings.scheme) : schemeOf(desktop);
    appearance.accent = settings.accent ? colourOf(*settings.accent) : accentOf(desktop, plain);
    if (settings.highContrast.value_or(false))
        appearance.contrast = Appearance::Contrast::High;
    if (settings.reducedMotion.value_or(false))
        appearance.motion = Appearance::Motion::Reduced;
    return appearance;
}

AppearanceFollower::AppearanceFollower(LauncherStyle &style, const QPalette &desktop)
    : m_style(style)
    , m_palette(desktop)
    , m_appearance([this](const DesktopSettings &settings) {
        m_settings = settings;
        follow();
    })
{
    connect(&style, &LauncherStyle::desktopPaletteChanged, this, [this](const QPalette &palette) {
        m_palette = palette;
        follow();
    });
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    connect(QGuiApplication::styleHints(), &QStyleHints::colorSchemeChanged, this,
            &AppearanceFollower::follow);
#endif
    follow();
}

void AppearanceFollower::follow()
{
    m_style.setAppearance(appearanceOf(m_settings, m_palette, m_style.baseStyle()->standardPalette()));
}
