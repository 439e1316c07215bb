// What the player can do while the system refuses every new thread, and afterwards.

#include "OrdinaryUser.h"
#include "Player.h"
#include "Rows.h"
#include "Texts.h"
#include "ThreadLimit.h"

using namespace Qt::StringLiterals;

class RefusedThreadsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyActionEndsInASentenceAndTheNextOneIsTaken_data()
    {
        const auto row = rows([](const Player::Action &action, const QString &sentence, bool isPlayable) {
            QVERIFY(OrdinaryUser::run([&] {
                Player player;
                player.loseHost();
                {
                    const ThreadLimit none;
                    AppModel &model = player.startInstalled();
                    if (!player.complete(action) || model.failureMessage.get() != sentence) {
                        qWarning("%s", qPrintable(model.failureMessage.get().value_or(QString())));
                        return false;
                    }
                }
                return isPlayable ? player.playToRunning() : player.playToFailure();
            }));
        });
        const QString noTransfer = u"Download failed: The system has no room for another transfer."_s;
        row("play", &AppModel::play, Texts::closedEarly(0, -1), true);
        row("update", &AppModel::updateGame, noTransfer, true);
        row("reinstall", &AppModel::reinstall, noTransfer, false);
    }
    void everyActionEndsInASentenceAndTheNextOneIsTaken() { runRow(); }

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
