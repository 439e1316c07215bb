#pragma once

#include "LauncherStyle.h"

#include <QApplication>
#include <QFont>

/// What a player may have chosen for the desktop.
namespace Look {

/// Without motion, so that a picture shows what a change ends in.
inline Appearance light() { return { .motion = Appearance::Motion::Reduced }; }
inline Appearance dark()
{
    return { .scheme = Appearance::Scheme::Dark, .motion = Appearance::Motion::Reduced };
}

/// The desktop's font in another size.
inline QFont font(double points)
{
    QFont font = QApplication::font();
    font.setPointSizeF(points);
    return font;
}

/// The application's style, installed if it is not there yet.
inline LauncherStyle &style()
{
    if (auto *style = qobject_cast<LauncherStyle *>(QApplication::style()))
        return *style;
    auto *style = new LauncherStyle(Appearance {});
    QApplication::setStyle(style);
    return *style;
}

/// Replaces the desktop's appearance or font while this object exists.
class Desktop final {
public:
    explicit Desktop(const Appearance &appearance) { style().setAppearance(appearance); }
    explicit Desktop(const QFont &font) { QApplication::setFont(font); }
    ~Desktop()
    {
        style().setAppearance(m_appearance);
        QApplication::setFont(m_font);
    }
    Q_DISABLE_COPY_MOVE(Desktop)

private:
    const Appearance m_appearance = style().tokens().appearance;
    const QFont m_font = QApplication::font();
};

}
