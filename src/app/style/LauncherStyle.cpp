#include "LauncherStyle.h"

#include "Contrast.h"

#include <QApplication>
#include <QPalette>
#include <QWidget>

namespace {

QPalette paletteOf(const Tokens &tokens)
{
    QPalette palette(tokens.ink, tokens.window, tokens.sheet, tokens.window, tokens.secondary, tokens.ink,
                     tokens.sheet, tokens.sheet, tokens.window);
    palette.setColor(QPalette::Button, Contrast::over(tokens.control, tokens.window));
    palette.setColor(QPalette::Highlight, tokens.accent);
    palette.setColor(QPalette::HighlightedText, tokens.onAccent);
    palette.setColor(QPalette::Link, tokens.link);
    palette.setColor(QPalette::PlaceholderText, tokens.secondary);
    palette.setColor(QPalette::ToolTipBase, tokens.sheet);
    palette.setColor(QPalette::ToolTipText, tokens.ink);
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, tokens.disabled);
    return palette;
}

}

LauncherStyle::LauncherStyle(const Appearance &appearance)
    : QProxyStyle(QStringLiteral("fusion"))
    , m_tokens(Tokens::of(appearance))
{
}

void LauncherStyle::setAppearance(const Appearance &appearance)
{
    if (appearance == m_tokens.appearance)
        return;
    m_tokens = Tokens::of(appearance);
    QApplication::setPalette(standardPalette());
    // Colours that no palette has, and measures, may have changed as well.
    const auto widgets = QApplication::allWidgets();
    for (QWidget *widget : widgets)
        widget->update();
}

QPalette LauncherStyle::standardPalette() const { return paletteOf(m_tokens); }

void LauncherStyle::polish(QPalette &palette) { palette = standardPalette(); }
