// What the player can do while the system refuses every new thread, and afterwards.

#include "OrdinaryUser.h"
#include "Player.h"
#include "Texts.h"
#include "ThreadLimit.h"

#include <QTest>

using namespace Qt::StringLiterals;

class RefusedThreadsTest final : public QObject {
    Q_OBJECT

    using Verb = void (AppModel::*)();

private Q_SLOTS:
    void everyActionEndsInASentenceAndTheNextOneIsTaken_data()
    {
        QTest::addColumn<Verb>("verb");
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<bool>("isPlayable");
        const QString noTransfer = u"Download failed: The system has no room for another transfer."_s;
        QTest::newRow("play") << Verb(&AppModel::play) << Texts::closedEarly(0, -1) << true;
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
            player.loseHost();
            {
                const ThreadLimit none;
                AppModel &model = player.startInstalled();
                (model.*verb)();
                if (!player.waitUntilIdle() || model.failureMessage.get() != sentence) {
                    qWarning("%s", qPrintable(model.failureMessage.get().value_or(QString())));
                    return false;
                }
            }
            return isPlayable ? player.playToRunning() : player.playToFailure();
        }));
    }

    void theFreeableSizeIsWorkedOutAllTheSame()
    {
        QVERIFY(OrdinaryUser::run([] {
            Player player;
            player.putInPlace();
            const ThreadLimit none;
            AppModel &model = player.startModel();
            model.computeFreeableSize();
            return QTest::qWaitFor([&model] { return model.freeableBytes > 0; });
        }));
    }
};

QTEST_GUILESS_MAIN(RefusedThreadsTest)
#include "RefusedThreadsTest.moc"
