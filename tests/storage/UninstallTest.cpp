#include "Uninstall.h"
#include "BackgroundRemoval.h"
#include "Leftovers.h"

#include "LauncherFolder.h"
#include "OrdinaryUser.h"

#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using LauncherFolder::fill;
using LauncherFolder::has;

class UninstallTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }

    void removingNothingCreatesNothing()
    {
        Uninstall::game();
        Uninstall::engines();
        Uninstall::everything();
        BackgroundRemoval::wait({});
        QVERIFY(!FileOperations::exists(Paths::root()));
    }

    void aLauncherThatIsKilledWhileItRemovesTheGameLeavesNoHalfGame()
    {
        constexpr int levels = 300;
        for (int level = 0; level < levels; ++level)
            fill(*m_home, { u"Game/%1/file"_s.arg(level) });
        const pid_t child = fork();
        if (child == 0) {
            Uninstall::game();
            BackgroundRemoval::wait({});
            _exit(0);
        }
        // Kills it once a level is missing: by then, the whole game must have left its place.
        while (m_home->list(Paths::gameFolder()).size() == levels && waitpid(child, nullptr, WNOHANG) == 0) {
        }
        ::kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        QVERIFY(!has(u"Game"_s));
    }

    void foldersWithoutPermissionsAreDeleted()
    {
        fill(*m_home, { u"Game/shut/deeper/file"_s, u"Engine/4.6/engine"_s });
        QVERIFY(OrdinaryUser::ownTree(m_home->path()));
        QVERIFY(OrdinaryUser::run([this] {
            for (const QString &name :
                 { u"Game/shut/deeper"_s, u"Game/shut"_s, u"Game"_s, u"Engine/4.6"_s, u"Engine"_s })
                m_home->setMode(LauncherFolder::path(name), 0);
            Uninstall::everything();
            BackgroundRemoval::wait({});
            return m_home->list(Paths::base()).isEmpty();
        }));
    }

    void whatCannotLeaveItsPlaceIsEmptiedThere()
    {
        fill(*m_home, { u"Game/levels/one"_s, u"Engine/4.6/engine"_s, u"note.txt"_s });
        QVERIFY(OrdinaryUser::ownTree(m_home->path()));
        QVERIFY(OrdinaryUser::run([this] {
            m_home->setMode(Paths::root(), 0555);
            Uninstall::game();
            const bool isGameEmpty = m_home->list(Paths::gameFolder()).isEmpty();
            m_home->setMode(Paths::root(), 0755);
            m_home->setMode(Paths::base(), 0555);
            Uninstall::everything();
            BackgroundRemoval::wait({});
            m_home->setMode(Paths::base(), 0755);
            return isGameEmpty && m_home->list(Paths::root()).isEmpty();
        }));
    }

    void whatBelongsToSomebodyElseStaysUntilItCanBeDeletedAndTheRestIsDeleted()
    {
        if (!OrdinaryUser::isNeeded())
            QSKIP(OrdinaryUser::cannotDisown);
        fill(*m_home, { u"Game/a/file"_s, u"Game/held/file"_s, u"Engine/4.6/engine"_s, u"note.txt"_s });
        QVERIFY(OrdinaryUser::ownTree(m_home->path()));
        QVERIFY(OrdinaryUser::disown(LauncherFolder::path(u"Game/held"_s)));
        QVERIFY(OrdinaryUser::run([] {
            Uninstall::everything();
            BackgroundRemoval::wait({});
            // The launcher's folder has left its place, so that a new game can be put there.
            return !FileOperations::exists(Paths::root());
        }));
        const QStringList left = m_home->tree(Paths::base());
        QCOMPARE(left.size(), 4);
        QVERIFY2(left.last().endsWith(u"/Game/held/file"_s), qPrintable(left.last()));
        QVERIFY(Leftovers::clear()); // as the superuser
        QCOMPARE(m_home->list(Paths::base()), QStringList());
    }

private:
    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(UninstallTest)
#include "UninstallTest.moc"
