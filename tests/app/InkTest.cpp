#include "ContentView.h"
#include "Pixels.h"
#include "Samples.h"
#include "Stage.h"

namespace {

enum class Kind { Plain, Grey, Red };

/// The names of the sheets. Any other name is that of a scene of the window.
const QString settings = QStringLiteral("settings");
const QString about = QStringLiteral("about");

QWidget *open(Stage &stage, const QString &where)
{
    const auto scenes = Samples::scenes();
    for (const Samples::Scene &scene : scenes) {
        if (scene.name == where)
            scene.set(stage.model);
    }
    // Tall enough to show everything.
    stage.open(QSize(600, 1000));
    if (where == settings)
        return stage.openSettings();
    if (where == about)
        return stage.openAbout();
    return stage.window.get();
}

}

class InkTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyTextHasItsInk_data();
    void everyTextHasItsInk();
};

void InkTest::everyTextHasItsInk_data()
{
    QTest::addColumn<QString>("where");
    QTest::addColumn<QString>("beginning");
    QTest::addColumn<int>("kind");
    const auto row = [](const char *where, const char *beginning, Kind kind) {
        QTest::addRow("%s: %s", where, beginning)
            << QString::fromLatin1(where) << QString::fromLatin1(beginning) << static_cast<int>(kind);
    };
    row("not-downloaded", "2D Platformer", Kind::Plain);
    row("not-downloaded", "A small 2D platformer made with Godot.", Kind::Grey);
    row("not-downloaded", "Not downloaded", Kind::Plain);
    row("not-downloaded", "Downloads the game and the Godot engine once", Kind::Grey);
    row("ready-wordy", "A small platformer about a courier", Kind::Plain);
    row("ready-wordy", "Licence: ", Kind::Grey);
    row("ready-wordy", "Controls", Kind::Plain);
    row("ready-wordy", "Key 1 or gamepad button 1", Kind::Plain);
    row("ready-wordy", "No save files yet.", Kind::Grey);
    row("downloading", "Step 2 of 4", Kind::Plain);
    row("downloading", "20.2 MB of 48.1 MB", Kind::Grey);
    row("needs-something", "The code host could not be reached.", Kind::Red);
    row("failure-short", "The Internet connection appears to be offline.", Kind::Red);
    row("settings", "Settings", Kind::Plain);
    row("settings", "Window size", Kind::Plain);
    row("settings", "Updating downloads the game again.", Kind::Grey);
    row("about", "Game by ", Kind::Plain);
    row("about", "The game belongs to its author", Kind::Plain);
    row("about", "Based on ", Kind::Plain);
    row("about", "Made with the Godot Engine", Kind::Grey);
    row("about", "Nothing is sent anywhere", Kind::Grey);
}

void InkTest::everyTextHasItsInk()
{
    QFETCH(const QString, where);
    QFETCH(const QString, beginning);
    QFETCH(const int, kind);
    for (const QPalette &palette : { Pixels::Palette::light(), Pixels::Palette::dark() }) {
        const Pixels::Palette desktop(palette);
        Stage stage;
        QWidget *const window = open(stage, where);
        const auto labels = window->findChildren<TextLabel *>();
        const auto label
            = std::find_if(labels.begin(), labels.end(), [&beginning](const TextLabel *candidate) {
                  return candidate->isVisible() && candidate->text().startsWith(beginning);
              });
        QVERIFY(label != labels.end());

        const QImage picture = Pixels::of(*window, **label);
        const QColor ground = picture.pixelColor(picture.width() - 1, picture.height() - 1);
        const QColor ink = Pixels::ink(picture, ground);
        const QColor plain = palette.color(QPalette::WindowText);
        const double strength = Colours::contrast(ink, ground) / Colours::contrast(plain, ground);
        const int redness = ink.red() - std::max(ink.green(), ink.blue());
        const QString seen = QStringLiteral("%1 on %2").arg(ink.name(), ground.name());
        switch (static_cast<Kind>(kind)) {
        case Kind::Plain:
            QVERIFY2(strength > 0.7 && redness < 20, qPrintable(seen));
            break;
        case Kind::Grey:
            QVERIFY2(strength < 0.6 && redness < 20, qPrintable(seen));
            break;
        case Kind::Red:
            QVERIFY2(redness > 60, qPrintable(seen));
            break;
        }
    }
}

QTEST_MAIN(InkTest)
#include "InkTest.moc"
