#pragma once

#include "BusyBars.h"
#include "Tokens.h"

#include <QPalette>
#include <QProxyStyle>

#include <memory>

class FocusRing;
class QStyleOptionButton;
class QStyleOptionProgressBar;

/// How the launcher looks off macOS: flat controls in the colours of its tokens, in the desktop's font.
/// Widgets get their look by what they are; none needs to know this class. The application owns it. Main
/// thread.
///
/// A push button whose dynamic property "destructive" is true is written in red.
class LauncherStyle final : public QProxyStyle {
    Q_OBJECT

public:
    explicit LauncherStyle(const Appearance &appearance);
    ~LauncherStyle() override;

    const Tokens &tokens() const { return m_tokens; }
    /// Changes the look of everything that is shown.
    void setAppearance(const Appearance &appearance);

    /// Whether something is moving, and a timer runs for it.
    bool isMoving() const { return m_busyBars.isMoving(); }

    static constexpr auto destructiveProperty = "destructive";

    using QProxyStyle::polish;
    using QProxyStyle::unpolish;
    QPalette standardPalette() const override;
    void polish(QPalette &palette) override;
    void polish(QApplication *application) override;
    void unpolish(QApplication *application) override;
    void polish(QWidget *widget) override;

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget = nullptr) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget = nullptr) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                            const QWidget *widget = nullptr) const override;
    QRect subElementRect(SubElement element, const QStyleOption *option,
                         const QWidget *widget = nullptr) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget = nullptr) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &contents,
                           const QWidget *widget = nullptr) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption *option = nullptr,
                    const QWidget *widget = nullptr) const override;
    int styleHint(StyleHint hint, const QStyleOption *option = nullptr, const QWidget *widget = nullptr,
                  QStyleHintReturn *answer = nullptr) const override;

Q_SIGNALS:
    /// The desktop's theme has another palette, of which the launcher's own takes nothing by itself. Queued.
    void desktopPaletteChanged(const QPalette &palette);

private:
    void installPalettes();
    void drawButtonLabel(const QStyleOptionButton &option, QPainter &painter, const QWidget *widget) const;
    void drawProgressBar(const QStyleOptionProgressBar &option, QPainter &painter,
                         const QWidget *widget) const;

    Tokens m_tokens;
    QPalette m_desktopPalette;
    bool m_isInstalling = false;
    std::unique_ptr<FocusRing> m_focusRing;
    /// Drawing is what starts it.
    mutable BusyBars m_busyBars;
};
