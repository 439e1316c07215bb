#include "Tokens.h"

#include "Contrast.h"
#include "LauncherStyle.h"
#include "Measures.h"

#include <QPalette>
#include <QWidget>

#include <algorithm>

namespace {

/// What a colour has to differ by from what is behind it.
struct Ratios {
    double text = 4.5;
    double mark = 3;
    double edge = 1.3;
};

constexpr Ratios normal { 4.5, 3, 1.3 };
constexpr Ratios high { 7, 3, 3 };

/// A little more than what has to hold, since blending in 8 bits rounds.
Ratios withReserve(const Ratios &ratios)
{
    constexpr double reserve = 0.1;
    constexpr double edgeReserve = 0.03;
    return { ratios.text + reserve, ratios.mark + reserve, ratios.edge + edgeReserve };
}

QColor translucent(QColor colour, double opacity)
{
    colour.setAlphaF(static_cast<float>(opacity));
    return colour;
}

QColor rgb(QRgb value) { return QColor::fromRgb(value); }

/// `accent` in a brightness that stands out from the `grounds` and carries a readable text: white, or else
/// black. Where no brightness does both, the text counts.
struct Filling {
    QColor fill;
    QColor text;
};
Filling filling(const QColor &accent, const QList<QColor> &grounds, const Ratios &ratios)
{
    // In small steps: on a dark sheet there are few shades that carry white. What is filled is opaque, so
    // that nothing is blended and hardly more than the ratios is needed.
    constexpr int steps = 256;
    constexpr double spare = 0.02;
    for (const QColor &text : { QColor(Qt::white), QColor(Qt::black) }) {
        for (const QColor &end : { QColor(Qt::black), QColor(Qt::white) }) {
            for (int step = 0; step < steps; ++step) {
                const QColor shade = QColor(
                    Contrast::over(translucent(end, static_cast<double>(step) / steps), accent).rgb());
                if (Contrast::between(shade, text) < ratios.text + spare)
                    continue;
                const bool standsOut = std::all_of(grounds.begin(), grounds.end(), [&](const QColor &ground) {
                    return Contrast::between(shade, ground) >= ratios.mark + spare;
                });
                if (standsOut)
                    return { shade, text };
            }
        }
    }
    return { Contrast::readable(accent, { Qt::white }, ratios.text + spare), Qt::white };
}

/// What light and dark have in common is worked out from these.
struct Scheme {
    QColor window, sheet, ink, secondary, accent, link, failure, tint;
    QColor grey, orange, green, red;
    double control = 0, controlEdge = 0, well = 0, wellEdge = 0, track = 0, failureEdge = 0, thumb = 0,
           veil = 0;
    QColor segmentTrack;
};

Scheme lightScheme()
{
    return { .window = rgb(0xf5f6f8),
             .sheet = rgb(0xffffff),
             .ink = rgb(0x16181d),
             .secondary = rgb(0x5c626d),
             .accent = rgb(0x2a6fdb),
             .link = rgb(0x1d5fc9),
             .failure = rgb(0xb3261e),
             .tint = Qt::black,
             .grey = rgb(0x8a9099),
             .orange = rgb(0xd97706),
             .green = rgb(0x1f9d4d),
             .red = rgb(0xd93025),
             .control = 0.06,
             .controlEdge = 0.08,
             .well = 0.06,
             .wellEdge = 0.11,
             .track = 0.10,
             .failureEdge = 0.20,
             .thumb = 0.45,
             .veil = 0.36,
             .segmentTrack = translucent(Qt::black, 0.06) };
}

Scheme darkScheme()
{
    return {
        .window = rgb(0x202227),
        .sheet = rgb(0x2a2d33),
        .ink = rgb(0xeceef2),
        .secondary = rgb(0xa2a8b3),
        .accent = rgb(0x3b82f6),
        .link = rgb(0x7db0ff),
        .failure = rgb(0xff8a80),
        .tint = Qt::white,
        .grey = rgb(0x9aa1ac),
        .orange = rgb(0xf5a524),
        .green = rgb(0x41c46e),
        .red = rgb(0xff6257),
        .control = 0.09,
        .controlEdge = 0.08,
        .well = 0.06,
        .wellEdge = 0.12,
        .track = 0.13,
        .failureEdge = 0.25,
        .thumb = 0.45,
        .veil = 0.50,
        // Darker than the sheet: on a lighter track no accent colour would both stand out and carry white.
        .segmentTrack = translucent(Qt::black, 0.30)
    };
}

Scheme scheme(const Appearance &appearance)
{
    Scheme result = appearance.scheme == Appearance::Scheme::Dark ? darkScheme() : lightScheme();
    if (appearance.contrast == Appearance::Contrast::High) {
        const bool isDark = appearance.scheme == Appearance::Scheme::Dark;
        result.window = isDark ? rgb(0x0c0d0f) : rgb(0xffffff);
        result.sheet = isDark ? rgb(0x141619) : rgb(0xffffff);
        result.ink = isDark ? Qt::white : Qt::black;
    }
    if (appearance.accent.isValid())
        result.accent = appearance.accent;
    return result;
}

constexpr double moreWhenHovered = 0.04;
constexpr double moreWhenPressed = 0.08;

/// What is painted under everything else.
void setSurfaces(Tokens &tokens, const Scheme &base)
{
    tokens.window = base.window;
    tokens.sheet = base.sheet;
    tokens.veil = translucent(Qt::black, base.veil);
    tokens.shadow = translucent(Qt::black, 0.4);

    tokens.control = translucent(base.tint, base.control);
    tokens.controlHover = translucent(base.tint, base.control + moreWhenHovered);
    tokens.controlPressed = translucent(base.tint, base.control + moreWhenPressed);
    tokens.segmentTrack = base.segmentTrack;
    tokens.barTrack = translucent(base.tint, base.track);
    tokens.well = translucent(Qt::black, base.well);
    tokens.failurePanel = translucent(rgb(0xff0000), 0.08);
}

/// What may lie behind anything.
QList<QColor> plainGrounds(const Tokens &tokens)
{
    return { tokens.window, tokens.sheet, Contrast::over(tokens.failurePanel, tokens.window) };
}

/// The plain grounds, and each of them under each of the `tops`.
QList<QColor> withTops(const QList<QColor> &plain, const QList<QColor> &tops)
{
    QList<QColor> grounds = plain;
    for (const QColor &ground : plain) {
        for (const QColor &top : tops)
            grounds.append(Contrast::over(top, ground));
    }
    return grounds;
}

void setTextsAndDots(Tokens &tokens, const Scheme &base, const Ratios &ratios)
{
    const QList<QColor> plain = plainGrounds(tokens);
    const QList<QColor> all
        = withTops(plain, { tokens.control, tokens.controlHover, tokens.controlPressed, tokens.well });

    tokens.ink = Contrast::readable(base.ink, all, ratios.text);
    // Controls and wells show neither.
    tokens.secondary = Contrast::readable(base.secondary, plain, ratios.text);
    tokens.link = Contrast::readable(base.link, plain, ratios.text);
    tokens.failure = Contrast::readable(base.failure, all, ratios.text);
    tokens.disabled = translucent(tokens.ink, Measures::disabledOpacity);

    tokens.greyDot = Contrast::readable(base.grey, plain, ratios.mark);
    tokens.orangeDot = Contrast::readable(base.orange, plain, ratios.mark);
    tokens.greenDot = Contrast::readable(base.green, plain, ratios.mark);
    // Stop has one too.
    tokens.redDot = Contrast::readable(base.red, all, ratios.mark);
}

void setAccent(Tokens &tokens, const QColor &accent, const Ratios &least)
{
    const QList<QColor> behindFilling = withTops(plainGrounds(tokens), { tokens.segmentTrack });
    const Filling filled = filling(accent, behindFilling, least);
    tokens.accent = filled.fill;
    tokens.onAccent = filled.text;
    const QColor away = filled.text == QColor(Qt::white) ? Qt::black : Qt::white;
    tokens.accentHover = Contrast::over(translucent(away, moreWhenPressed), tokens.accent);
    tokens.accentPressed = Contrast::over(translucent(away, 2 * moreWhenPressed), tokens.accent);

    QList<QColor> behindMarks = behindFilling;
    // No sheet has a bar.
    behindMarks.append(Contrast::over(tokens.barTrack, tokens.window));
    tokens.mark = Contrast::readable(accent, behindMarks, withReserve(least).mark);
}

void setEdges(Tokens &tokens, const Scheme &base, const Ratios &ratios)
{
    const QColor none(0, 0, 0, 0);
    const QList<QColor> plain = plainGrounds(tokens);
    const auto edge = [&](double opacity, const QColor &fill) {
        return Contrast::visible(translucent(base.tint, opacity), fill, plain, ratios.edge);
    };
    tokens.controlEdge = edge(base.controlEdge, tokens.control);
    tokens.segmentEdge = edge(base.controlEdge, tokens.segmentTrack);
    tokens.wellEdge = edge(base.wellEdge, tokens.well);
    tokens.divider = edge(base.wellEdge, none);
    tokens.failureEdge = Contrast::visible(translucent(base.failure, base.failureEdge), tokens.failurePanel,
                                           { tokens.window }, ratios.edge);

    tokens.scrollThumb = Contrast::visible(translucent(base.tint, base.thumb), none,
                                           withTops(plain, { tokens.well }), ratios.mark);
    tokens.scrollThumbHover = tokens.scrollThumb;
    tokens.scrollThumbHover.setAlphaF(std::min(1.0F, tokens.scrollThumb.alphaF() + 0.2F));
}

}

Tokens Tokens::of(const Appearance &appearance)
{
    const Scheme base = scheme(appearance);
    const Ratios least = appearance.contrast == Appearance::Contrast::High ? high : normal;
    const Ratios ratios = withReserve(least);

    Tokens tokens;
    tokens.appearance = appearance;
    setSurfaces(tokens, base);
    setTextsAndDots(tokens, base, ratios);
    setAccent(tokens, base.accent, least);
    setEdges(tokens, base, ratios);
    return tokens;
}

const Tokens &Tokens::of(const QWidget &widget)
{
    if (const auto *style = qobject_cast<const LauncherStyle *>(widget.style()))
        return style->tokens();
    // A style of the desktop's own: its palette tells all that we can know.
    static Tokens latest = of(Appearance());
    const QPalette &palette = widget.palette();
    const bool isDark
        = palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
    const Appearance appearance { .scheme = isDark ? Appearance::Scheme::Dark : Appearance::Scheme::Light,
                                  .accent = palette.color(QPalette::Active, QPalette::Highlight) };
    if (latest.appearance != appearance)
        latest = of(appearance);
    return latest;
}
