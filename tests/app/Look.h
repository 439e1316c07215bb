#pragma once

#include <QApplication>
#include <QFont>
#include <QPalette>

/// What a player may have chosen for the desktop.
namespace Look {

inline QPalette light() { return QPalette(QColor(0xe8, 0xe8, 0xe8), QColor(0xef, 0xef, 0xef)); }
inline QPalette dark() { return QPalette(QColor(0x3a, 0x3b, 0x3f), QColor(0x2a, 0x2b, 0x2e)); }

/// The desktop's font in another size.
inline QFont font(double points)
{
    QFont font = QApplication::font();
    font.setPointSizeF(points);
    return font;
}

/// Replaces the desktop's palette or font while this object exists.
class Desktop final {
public:
    explicit Desktop(const QPalette &palette) { QApplication::setPalette(palette); }
    explicit Desktop(const QFont &font) { QApplication::setFont(font); }
    ~Desktop()
    {
        QApplication::setPalette(m_palette);
        QApplication::setFont(m_font);
    }
    Q_DISABLE_COPY_MOVE(Desktop)

private:
    const QPalette m_palette = QApplication::palette();
    const QFont m_font = QApplication::font();
};

}
