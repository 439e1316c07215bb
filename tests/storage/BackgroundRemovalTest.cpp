#include "BackgroundRemoval.h"
#include "Leftovers.h"

#include "LauncherFolder.h"
#include "OrdinaryUser.h"
#include "ThreadLimit.h"
#include "Uninstall.h"

#include <QTest>

#include <semaphore>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

using Removal = std::function<bool()>;

/// Holds up the background removal while it exists, so that a test can see the state before it.
class Standstill final {
public:
    Standstill()
    {
        BackgroundRemoval::then([this] {
            m_begun.release();
            m_end.acquire();
        });
        m_begun.acquire();
    }
    ~Standstill()
    {
        m_end.release();
        BackgroundRemoval::wait({});
    }
    Standstill(const Standstill &) = delete;
    Standstill &operator=(const Standstill &) = delete;

private:
    std::binary_semaphore m_begun { 0 };
    std::binary_semaphore m_end { 0 };
};

/// The start of the hidden name of what waits to be removed, and such a name.
constexpr auto prefix = ".vantor-platformer-removed-"_L1;
const QString removedBefore = prefix + u"6ba7b810-9dad-11d1-80b4-00c04fd430c8"_s;

}

class BackgroundRemovalTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }
    void cleanup() { m_home.reset(); }

    void whatIsRemovedHasLeftItsPlaceBeforeItIsDeleted_data()
    {
        QTest::addColumn<Removal>("remove");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("rest");
        const auto row = [](const char *what, const Removal &remove, const QString &name,
                            const QStringList &rest) { QTest::newRow(what) << remove << name << rest; };
        const auto returningTrue = [](void (*remove)() noexcept) {
            return [remove] {
                remove();
                return true;
            };
        };
        row("the game", returningTrue(Uninstall::game), u"/Game"_s, { u"Engine"_s, u"Temp"_s });
        row("the engines", returningTrue(Uninstall::engines), u"/Engine"_s, { u"Game"_s, u"Temp"_s });
        row("scratch", Leftovers::beginToClear, u"/Temp"_s, { u"Engine"_s, u"Game"_s });
        row("everything", returningTrue(Uninstall::everything), QString(), {});
    }

    void whatIsRemovedHasLeftItsPlaceBeforeItIsDeleted()
    {
        QFETCH(Removal, remove);
        QFETCH(QString, name);
        for (const QString &file : { u"Game/levels/one"_s, u"Engine/4.6/engine"_s, u"Temp/A/extract/one"_s })
            keep(file);
        const QString path = Paths::root() + name;
        const QString place = QFileInfo(path).path();
        {
            const Standstill nothingIsDeleted;
            QVERIFY(remove());
            QVERIFY(!FileOperations::exists(path));
            QCOMPARE(aside(place).size(), 1);
        }
        QCOMPARE(aside(place), QStringList());
        QTEST(m_home->list(Paths::root()), "rest");
    }

    void whatAKilledLauncherWasRemovingIsDeletedAtTheNextStart()
    {
        keep(removedBefore + u"/levels/one"_s);
        const QString beside = Paths::base() + u'/' + removedBefore;
        m_home->write(beside + u"/Game/one"_s, "1");
        const QString precious = m_home->write(u"precious/save"_s, "1");
        m_home->link(beside + u"/link"_s, m_home->filePath(u"precious"_s));

        QVERIFY(Leftovers::clear());
        QCOMPARE(aside(Paths::root()), QStringList());
        QCOMPARE(aside(Paths::base()), QStringList());
        QVERIFY(FileOperations::exists(precious));
    }

    void whatOnlyHasASimilarNameStays()
    {
        keep(u"Game/project.godot"_s);
        const QStringList names { prefix, prefix + u"yesterday"_s };
        for (const QString &name : names) {
            keep(name + u"/file"_s);
            m_home->write(Paths::base() + u'/' + name + u"/file"_s, "1");
        }
        QVERIFY(Leftovers::clear());
        QCOMPARE(aside(Paths::root()), names);
        QCOMPARE(aside(Paths::base()), names);
    }

    void aLinkInPlaceOfWhatIsRemovedIsNotFollowed()
    {
        const QString precious = m_home->write(u"precious/save"_s, "1");
        m_home->link(Paths::base() + u'/' + removedBefore, m_home->filePath(u"precious"_s));
        QVERIFY(Leftovers::clear());
        QCOMPARE(aside(Paths::base()), QStringList());
        QVERIFY(FileOperations::exists(precious));
    }

    void aGameThatIsBeingRemovedIsNotPutBack()
    {
        keep(u"Temp/A/Game/project.godot"_s);
        keep(u"Game/project.godot"_s);
        const Standstill nothingIsDeleted;
        QVERIFY(Leftovers::beginToClear());
        Uninstall::game();
        QVERIFY(Leftovers::beginToClear());
        QVERIFY(!LauncherFolder::has(u"Game"_s));
    }

    void waitingEndsWhenAStopIsRequested()
    {
        keep(u"Temp/A/file"_s);
        const Standstill nothingIsDeleted;
        std::stop_source stop;
        std::jthread later([&stop] { stop.request_stop(); });
        QVERIFY(Leftovers::clear(stop.get_token()));
        QCOMPARE(aside(Paths::root()).size(), 1);
    }

    void withoutAThreadTheWaitingThreadDoesTheWork()
    {
        keep(u"Game/levels/one"_s);
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
    void keep(const QString &name) const { LauncherFolder::write(*m_home, name); }

    /// The entries of `folder` that wait to be removed.
    QStringList aside(const QString &folder) const { return m_home->list(folder).filter(prefix); }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(BackgroundRemovalTest)
#include "BackgroundRemovalTest.moc"
