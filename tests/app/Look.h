#pragma once

#include <QApplication>
#include <QPalette>
#include <QTest>

/// What a player may have chosen for the desktop.
namespace Look {

inline QPalette light() { return QPalette(QColor(0xe8, 0xe8, 0xe8), QColor(0xef, 0xef, 0xef)); }
inline QPalette dark() { return QPalette(QColor(0x3a, 0x3b, 0x3f), QColor(0x2a, 0x2b, 0x2e)); }

/// Adds both palettes as rows of a test, in the column "palette".
inline void addPalettes()
{
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("light") << light();
    QTest::newRow("dark") << dark();
}

/// Replaces the desktop's palette while this object exists.
class Palette final {
public:
    explicit Palette(const QPalette &palette) { QApplication::setPalette(palette); }
    ~Palette() { QApplication::setPalette(m_before); }
    Q_DISABLE_COPY_MOVE(Palette)

private:
    const QPalette m_before = QApplication::palette();
};

/// Replaces the desktop's font while this object exists.
class Font final {
public:
    explicit Font(const QFont &font) { QApplication::setFont(font); }
    explicit Font(double points)
    {
        QFont font = m_before;
        font.setPointSizeF(points);
        QApplication::setFont(font);
    }
    ~Font() { QApplication::setFont(m_before); }
    Q_DISABLE_COPY_MOVE(Font)

private:
    const QFont m_before = QApplication::font();
};

}
