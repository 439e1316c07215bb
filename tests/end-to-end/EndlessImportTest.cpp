// A real engine that imports a whole project and then does not end. Debian's Godot 3.2.3 does that with a
// project that has a font: it waits for a picture of the font from a window that it does not have.
// ENGINE_LINE in the environment selects the engine line and the sample game.

#include "Player.h"
#include "RealEngine.h"
#include "Texts.h"
#include "VirtualDisplay.h"

#include <QElapsedTimer>
#include <QTest>

#include <chrono>

using namespace Qt::StringLiterals;

class EndlessImportTest final : public QObject {
    Q_OBJECT

public:
    explicit EndlessImportTest(QString engine)
        : m_engine(std::move(engine))
    {
    }

private Q_SLOTS:
    void theGameIsPlayedThoughItsImportDoesNotEnd()
    {
        Player player(QStringLiteral(SAMPLES_FOLDER "/coin-run-") + RealEngine::line(), m_engine,
                      std::chrono::minutes(3));
        player.writeGame(u"font.ttf"_s, player.home.read(QStringLiteral(FONT_FILE)));
        player.writeGame(u"font.tres"_s,
                         "[gd_resource type=\"DynamicFont\" load_steps=2 format=2]\n\n"
                         "[ext_resource path=\"res://font.ttf\" type=\"DynamicFontData\" id=1]\n\n"
                         "[resource]\nsize = 20\nfont_data = ExtResource( 1 )\n");
        player.start();
        AppModel &model = *player.model;
        QElapsedTimer time;
        time.start();
        QVERIFY(player.playToRunning());
        const QString ended = u"The engine finished importing but did not end; it was ended."_s;
        if (!model.log.lines->contains(ended))
            QSKIP("This engine ends by itself.");
        QVERIFY(time.elapsed() > 30'000);
        QVERIFY(QFileInfo::exists(EngineManager::markerURL(EngineManager::spec(*model.info.get()))));
        QCOMPARE(model.log.lines->filter(u"First-time setup, pass"_s).size(), 1);
        QVERIFY(player.stopGame());
        QCOMPARE(model.state.get(), AppState::ready());
    }

private:
    const QString m_engine;
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString engine = RealEngine::program();
    if (engine.isEmpty())
        return RealEngine::skipped;
    const VirtualDisplay display;
    EndlessImportTest test(engine);
    return QTest::qExec(&test, argc, argv);
}

#include "EndlessImportTest.moc"
