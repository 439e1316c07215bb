#include "AppearanceFollower.h"
#include "LauncherStyle.h"
#include "Table.h"

#include <QSignalSpy>
#include <QTest>

namespace {

using Scheme = Appearance::Scheme;

const QColor violet(120, 0, 140);
const QColor orange(255, 128, 0);
constexpr DesktopSettings::Colour violetShares { 120 / 255.0, 0, 140 / 255.0 };

/// What a desktop's theme may bring.
QPalette light() { return QPalette(QColor(0xe8, 0xe8, 0xe8), QColor(0xef, 0xef, 0xef)); }
QPalette dark() { return QPalette(QColor(0x3a, 0x3b, 0x3f), QColor(0x2a, 0x2b, 0x2e)); }

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
        row("a desktop that tells nothing", {}, light(), {});
        row("a dark palette", {}, dark(), { .scheme = Scheme::Dark });
        row("the palette's accent colour", {}, with(orange, light()), { .accent = orange });
        row("dark in the settings", { .scheme = DesktopSettings::Scheme::Dark }, light(),
            { .scheme = Scheme::Dark });
        row("light in the settings", { .scheme = DesktopSettings::Scheme::Light }, dark(), {});
        row("an accent colour in both", { .accent = violetShares }, with(orange, light()),
            { .accent = violet });
        row("high contrast", { .highContrast = true }, light(), { .contrast = Appearance::Contrast::High });
        row("normal contrast", { .highContrast = false }, light(), {});
        row("reduced motion", { .reducedMotion = true }, light(), { .motion = Appearance::Motion::Reduced });
        row("full motion", { .reducedMotion = false }, light(), {});
    }

    void theSettingsCountBeforeThePalette()
    {
        QFETCH(const DesktopSettings, settings);
        QFETCH(const QPalette, desktop);
        QFETCH(const Appearance, expected);
        const Appearance appearance = appearanceOf(settings, desktop, light());
        QCOMPARE(appearance.scheme, expected.scheme);
        QCOMPARE(appearance.contrast, expected.contrast);
        QCOMPARE(appearance.motion, expected.motion);
        QCOMPARE(appearance.accent.rgb(), expected.accent.rgb());
        QCOMPARE(appearance.accent.isValid(), expected.accent.isValid());
    }

    void anotherPaletteOfTheDesktopIsFollowed()
    {
        LauncherStyle style(Appearance {});
        const AppearanceFollower follower(style, dark());
        QCOMPARE(style.tokens().appearance.scheme, Scheme::Dark);
        QPalette palette = with(orange, light());
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

    void onADesktopThatTellsNothingTheLooksStayAsTheyAre()
    {
        const QPalette desktop = QApplication::palette();
        auto *style = new LauncherStyle(Appearance());
        QApplication::setStyle(style);
        const AppearanceFollower follower(*style, desktop);
        QTest::qWait(50);
        QCOMPARE(style->tokens().appearance, Appearance());
        style->setAppearance({ .scheme = Scheme::Dark });
        style->setAppearance(Appearance());
        QTest::qWait(50);
        QCOMPARE(style->tokens().appearance, Appearance());
    }
};

QTEST_MAIN(AppearanceFollowerTest)
#include "AppearanceFollowerTest.moc"
