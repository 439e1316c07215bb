#include "BackgroundRemoval.h"
#include "Leftovers.h"

#include "LauncherFolder.h"
#include "OrdinaryUser.h"
#include "Table.h"
#include "ThreadLimit.h"
#include "Uninstall.h"

#include <QTest>

#include <semaphore>
#include <thread>

using namespace Qt::StringLiterals;
using LauncherFolder::fill;

namespace {

using Removal = std::function<void()>;

/// Holds up the background removal while it exists, so that a test can see the state before it.
class Standstill final {
public:
    Standstill()
    {
        BackgroundRemoval::then([this] { m_end.acquire(); });
    }
    ~Standstill()
    {
        m_end.release();
        BackgroundRemoval::wait({});
    }

private:
    std::binary_semaphore m_end { 0 };
};

/// The start of the hidden name of what waits to be removed.
constexpr auto prefix = ".vantor-platformer-removed-"_L1;

/// What an earlier launcher has moved aside into `folder`.
QString removedBefore(const QString &folder, int number)
{
    return folder + u'/' + prefix + u"6ba7b81%1-9dad-11d1-80b4-00c04fd430c8"_s.arg(number);
}

}

class BackgroundRemovalTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }

    void whatIsRemovedHasLeftItsPlaceBeforeItIsDeleted_data()
    {
        const auto row = table<Removal, QString, QStringList>("remove", "name", "rest");
        row("the game", Uninstall::game, u"/Game"_s, { u"Engine"_s, u"Temp"_s });
        row("the engines", Uninstall::engines, u"/Engine"_s, { u"Game"_s, u"Temp"_s });
        row("scratch", Leftovers::beginToClear, u"/Temp"_s, { u"Engine"_s, u"Game"_s });
        row("everything", Uninstall::everything, QString(), {});
    }

    void whatIsRemovedHasLeftItsPlaceBeforeItIsDeleted()
    {
        QFETCH(Removal, remove);
        QFETCH(QString, name);
        fill(*m_home, { u"Game/levels/one"_s, u"Engine/4.6/engine"_s, u"Temp/A/extract/one"_s });
        const QString path = Paths::root() + name;
        const QString place = QFileInfo(path).path();
        {
            const Standstill nothingIsDeleted;
            remove();
            QVERIFY(!FileOperations::exists(path));
            QCOMPARE(aside(place).size(), 1);
        }
        QCOMPARE(aside(place), QStringList());
        QTEST(m_home->list(Paths::root()), "rest");
    }

    void whatAKilledLauncherWasRemovingIsDeletedAtTheNextStartWithoutFollowingLinks()
    {
        const QString precious = m_home->write(u"precious/save"_s, "1");
        for (const QString &folder : { Paths::root(), Paths::base() }) {
            m_home->write(removedBefore(folder, 1) + u"/Game/one"_s, "1");
            m_home->link(removedBefore(folder, 1) + u"/link"_s, m_home->filePath(u"precious"_s));
            m_home->link(removedBefore(folder, 2), m_home->filePath(u"precious"_s));
        }
        QVERIFY(Leftovers::clear());
        QCOMPARE(aside(Paths::root()), QStringList());
        QCOMPARE(aside(Paths::base()), QStringList());
        QVERIFY(FileOperations::exists(precious));
    }

    void whatOnlyHasASimilarNameStays()
    {
        fill(*m_home, { u"Game/project.godot"_s });
        const QStringList names { prefix, prefix + u"yesterday"_s };
        for (const QString &name : names) {
            fill(*m_home, { name + u"/file"_s });
            m_home->write(Paths::base() + u'/' + name + u"/file"_s, "1");
        }
        QVERIFY(Leftovers::clear());
        QCOMPARE(aside(Paths::root()), names);
        QCOMPARE(aside(Paths::base()), names);
    }

    void aGameThatIsBeingRemovedIsNotPutBack()
    {
        fill(*m_home, { u"Temp/A/Game/project.godot"_s, u"Game/project.godot"_s });
        const Standstill nothingIsDeleted;
        QVERIFY(Leftovers::beginToClear());
        Uninstall::game();
        QVERIFY(Leftovers::beginToClear());
        QVERIFY(!LauncherFolder::has(u"Game"_s));
    }

    void waitingEndsWhenAStopIsRequested()
    {
        fill(*m_home, { u"Temp/A/file"_s });
        const Standstill nothingIsDeleted;
        std::stop_source stop;
        std::jthread later([&stop] { stop.request_stop(); });
        QVERIFY(Leftovers::clear(stop.get_token()));
        QCOMPARE(aside(Paths::root()).size(), 1);
    }

    void withoutAThreadTheWaitingThreadDoesTheWork()
    {
        fill(*m_home, { u"Game/levels/one"_s });
        QVERIFY(OrdinaryUser::ownTree(m_home->path()));
        QVERIFY(OrdinaryUser::run([this] {
            const ThreadLimit none;
            Uninstall::game();
            const bool isAside = aside(Paths::root()).size() == 1;
            BackgroundRemoval::wait({});
            return isAside && aside(Paths::root()).isEmpty();
        }));
    }

private:
    /// The entries of `folder` that wait to be removed.
    QStringList aside(const QString &folder) const { return m_home->list(folder).filter(prefix); }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(BackgroundRemovalTest)
#include "BackgroundRemovalTest.moc"
