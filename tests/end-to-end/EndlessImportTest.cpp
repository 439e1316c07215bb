// A real engine that imports a whole project and then does not end. Debian's Godot 3.2.3 does that with a
// project that has a font: it waits for a picture of the font from a window that it does not have.
// ENGINE_LINE in the environment must be 3.

#include "Player.h"
#include "RealEngine.h"
#include "VirtualDisplay.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
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
        const QTemporaryDir empty;
        Player player(empty.path(), m_engine, std::chrono::minutes(3));
        player.writeGame(u"project.godot"_s,
                         "config_version=4\n\n[application]\n\nconfig/name=\"Words\"\n"
                         "run/main_scene=\"res://main.tscn\"\n");
        player.writeGame(u"main.tscn"_s, "[gd_scene format=2]\n\n[node name=\"Main\" type=\"Node2D\"]\n");
        player.writeGame(u"font.ttf"_s, player.home.read(QStringLiteral(FONT_FILE)));
        player.writeGame(u"words.csv"_s, "key,en,de\nHELLO,Hello,Hallo\n");
        player.start();

        AppModel &model = *player.model;
        QElapsedTimer time;
        time.start();
        QVERIFY(player.playToRunning());
        const QString log = model.log.lines->join(u'\n');
        if (!log.contains(u"The engine finished importing but did not end; it was ended."_s))
            QSKIP("This engine ends by itself.");
        QVERIFY(time.elapsed() > 30'000);
        QCOMPARE(log.count(u"First-time setup, pass"_s), 1);
        QVERIFY2(!log.contains(u"Setup did not report imported files"_s), qPrintable(log));
        QVERIFY(Player::hasInstalled(u"words.de.translation"_s));
        QVERIFY(QFileInfo::exists(EngineManager::markerURL(EngineManager::spec(*model.info.get()))));
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
