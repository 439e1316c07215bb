#include "AppearanceFollower.h"
#include "LauncherStyle.h"
#include "Look.h"
#include "Table.h"

#include <QSignalSpy>
#include <QTest>

namespace {

using Scheme = Appearance::Scheme;

const QColor violet(120, 0, 140);
const QColor orange(255, 128, 0);
constexpr DesktopSettings::Colour violetShares { 120 / 255.0, 0, 140 / 255.0 };

/// A desktop's palette with this accent colour.
QPalette with(const QColor &accent, QPalette palette)
{
    palette.setColor(QPalette::Highlight, accent);
    return palette;
}

}

class AppearanceFollowerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSettingsCountBeforeThePalette_data()
    {
        const auto row = table<DesktopSettings, QPalette, Appearance>("settings", "desktop", "expected");
        row("a desktop that tells nothing", {}, Look::light(), {});
        row("a dark palette", {}, Look::dark(), { .scheme = Scheme::Dark });
        row("the palette's accent colour", {}, with(orange, Look::light()), { .accent = orange });
        row("dark in the settings", { .scheme = DesktopSettings::Scheme::Dark }, Look::light(),
            { .scheme = Scheme::Dark });
        row("light in the settings", { .scheme = DesktopSettings::Scheme::Light }, Look::dark(), {});
        row("an accent colour in both", { .accent = violetShares }, with(orange, Look::light()),
            { .accent = violet });
        row("high contrast", { .highContrast = true }, Look::light(),
            { .contrast = Appearance::Contrast::High });
        row("normal contrast", { .highContrast = false }, Look::light(), {});
        row("reduced motion", { .reducedMotion = true }, Look::light(),
            { .motion = Appearance::Motion::Reduced });
        row("full motion", { .reducedMotion = false }, Look::light(), {});
    }

    void theSettingsCountBeforeThePalette()
    {
        QFETCH(const DesktopSettings, settings);
        QFETCH(const QPalette, desktop);
        QFETCH(const Appearance, expected);
        const Appearance appearance = appearanceOf(settings, desktop, Look::light());
        QCOMPARE(appearance.scheme, expected.scheme);
        QCOMPARE(appearance.contrast, expected.contrast);
        QCOMPARE(appearance.motion, expected.motion);
        QCOMPARE(appearance.accent.rgb(), expected.accent.rgb());
        QCOMPARE(appearance.accent.isValid(), expected.accent.isValid());
    }

    void anotherPaletteOfTheDesktopIsFollowed()
    {
        LauncherStyle style { {} };
        const AppearanceFollower follower(style, Look::dark());
        QCOMPARE(style.tokens().appearance.scheme, Scheme::Dark);
        QPalette palette = with(orange, Look::light());
        style.polish(palette); // as Qt does with the palette of the desktop's theme
        QCOMPARE(palette.color(QPalette::Window), style.standardPalette().color(QPalette::Window));
        QTRY_COMPARE(style.tokens().appearance.scheme, Scheme::Light);
        QCOMPARE(style.tokens().appearance.accent, orange);
    }

    void theStylesOwnPaletteIsNotTakenForTheDesktops()
    {
        LauncherStyle style({ .scheme = Scheme::Dark });
        QSignalSpy changes(&style, &LauncherStyle::desktopPaletteChanged);
        QPalette palette = style.standardPalette();
        style.polish(palette);
        QTest::qWait(10);
        QCOMPARE(changes.count(), 0);
    }
};

QTEST_MAIN(AppearanceFollowerTest)
#include "AppearanceFollowerTest.moc"
