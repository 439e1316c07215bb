// What the player can do while the system refuses every new thread, and afterwards.

#include "EngineManager.h"
#include "OrdinaryUser.h"
#include "Player.h"
#include "ThreadLimit.h"

#include <QTest>

namespace {

using Verb = void (AppModel::*)();

const QString noTransfer = QStringLiteral("Download failed: The system has no room for another transfer.");
const QString noGame
    = QStringLiteral("The game closed after only 0 seconds (exit code -1), so it did not start "
                     "properly. These are the last lines of its log:");

/// Puts a game, an engine and the import marker in place, as an installation does.
void putInPlace(const Player &player)
{
    const EngineSpec spec { 4, QStringLiteral("4.6"), false };
    const auto copy = [&player](const QString &from, const QString &to) {
        QDir().mkpath(QFileInfo(to).path());
        if (!QFile::copy(player.home.filePath(from), to))
            qFatal("%s could not be copied.", qPrintable(from));
    };
    copy(QStringLiteral("standing-engine"), EngineManager::folder(spec) + u'/' + spec.fileName().chopped(4));
    for (const char *name : { "project.godot", "play.sh" })
        copy(QStringLiteral("repository/") + QLatin1StringView(name),
             Paths::gameFolder() + u'/' + QLatin1StringView(name));
    copy(QStringLiteral("repository/play.sh"), EngineManager::markerURL(spec));
}

}

class RefusedThreadsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        CodeHost::setAddress(QUrl(QStringLiteral("http://127.0.0.1:1"))); // nothing listens there
    }
    void cleanupTestCase() { CodeHost::setAddress(CodeHost::official()); }

    void everyActionEndsInASentenceAndTheNextOneIsTaken_data()
    {
        QTest::addColumn<Verb>("verb");
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<bool>("isPlayable");
        QTest::newRow("play") << Verb(&AppModel::play) << noGame << true;
        QTest::newRow("update") << Verb(&AppModel::updateGame) << noTransfer << true;
        QTest::newRow("reinstall") << Verb(&AppModel::reinstall) << noTransfer << false;
    }

    void everyActionEndsInASentenceAndTheNextOneIsTaken()
    {
        QFETCH(Verb, verb);
        QFETCH(QString, sentence);
        QFETCH(bool, isPlayable);
        QVERIFY(OrdinaryUser::run([&] {
            Player player;
            putInPlace(player);
            {
                const ThreadLimit none;
                AppModel &model = player.startModel();
                if (!QTest::qWaitFor([&model] { return model.info.get().has_value(); }))
                    return false;
                (model.*verb)();
                if (!player.waitUntilIdle() || model.failureMessage.get() != sentence) {
                    qWarning("%s", qPrintable(model.failureMessage.get().value_or(QString())));
                    return false;
                }
            }
            player.model->play();
            return isPlayable ? QTest::qWaitFor([&player] { return player.model->runner.isRunning.get(); })
                              : player.waitUntilIdle() && player.hasFailed();
        }));
    }

    void theFreeableSizeIsWorkedOutAllTheSame()
    {
        QVERIFY(OrdinaryUser::run([] {
            Player player;
            putInPlace(player);
            const ThreadLimit none;
            AppModel &model = player.startModel();
            model.computeFreeableSize();
            return QTest::qWaitFor([&model] { return model.freeableBytes > 0; });
        }));
    }
};

QTEST_GUILESS_MAIN(RefusedThreadsTest)
#include "RefusedThreadsTest.moc"
