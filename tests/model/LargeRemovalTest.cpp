// The window stays responsive while very many files are removed: with FLOOD=full as many as the largest games
// have, otherwise fewer.

#include "BackgroundRemoval.h"
#include "FileOperations.h"
#include "Leftovers.h"
#include "Player.h"
#include "Rows.h"
#include "Strain.h"

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class LargeRemovalTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { BackgroundRemoval::wait({}); }

    void theWindowAnswersMeanwhile_data()
    {
        const auto row = rows([](const Player::Action &action, bool isInTemp) {
            Player player;
            player.loseHost(); // so the reinstallation fails at the download
            AppModel &model = player.startModel();
            const QString many = (isInTemp ? Paths::tempFolder() : Paths::gameFolder()) + u"/extract"_s;
            fill(many);
            bool isGone = false;
            Strain strain;
            QTimer::singleShot(0, &model, [&] {
                action(model);
                isGone = !FileOperations::exists(many);
            });
            const auto isOver = [&] { return isGone && !model.isWorking() && !isAnythingAside(); };
            QVERIFY(strain.runUntil(isOver, std::chrono::minutes(2)));
            qInfo("%d files, longest gap %lld ms", fileCount(), static_cast<long long>(strain.longestGap()));
            QVERIFY2(strain.keptItsTurns(longestGap), QByteArray::number(strain.longestGap()).constData());
        });
        row("reinstall", &AppModel::reinstall, false);
        row("remove everything", &AppModel::removeEverything, false);
        row(
            "start after a crash", [](AppModel &) { Leftovers::beginToClear(); }, true);
    }
    void theWindowAnswersMeanwhile() { runRow(); }

private:
    /// The longest pause allowed, in milliseconds; stricter than in other tests.
    static constexpr qint64 longestGap = Strain::isMeasurable() ? 50 : Strain::longestPause;

    static int fileCount() { return qgetenv("FLOOD") == "full" ? 200'000 : 8'000; }

    static void fill(const QString &folder)
    {
        constexpr int filesInAFolder = 500;
        for (int index = 0; index < fileCount(); ++index) {
            const QString sub = folder + u'/' + QString::number(index / filesInAFolder);
            if (index % filesInAFolder == 0)
                QVERIFY(QDir().mkpath(sub));
            const QByteArray file = QFile::encodeName(sub + u'/' + QString::number(index));
            const int descriptor = ::open(file.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
            QVERIFY(descriptor >= 0);
            ::close(descriptor);
        }
    }

    static bool isAnythingAside()
    {
        const QStringList names { u".vantor-platformer-removed-*"_s };
        const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot;
        return !QDir(Paths::root()).entryList(names, all).isEmpty()
            || !QDir(QFileInfo(Paths::root()).path()).entryList(names, all).isEmpty();
    }
};

QTEST_GUILESS_MAIN(LargeRemovalTest)
#include "LargeRemovalTest.moc"
