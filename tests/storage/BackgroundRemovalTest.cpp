#include "BackgroundRemoval.h"
#include "FileOperations.h"
#include "Leftovers.h"
#include "Paths.h"

#include "OrdinaryUser.h"
#include "TestHome.h"
#include "ThreadLimit.h"
#include "Uninstall.h"

#include <QDir>
#include <QTest>

#include <semaphore>
#include <thread>

namespace {

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

/// The entries of `folder` that were moved aside and wait to be removed.
QStringList aside(const QString &folder)
{
    return QDir(folder).entryList({ QStringLiteral(".vantor-platformer-removed-*") },
                                  QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

}

class BackgroundRemovalTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }
    void cleanup() { m_home.reset(); }

    void whatIsRemovedHasLeftItsPlaceBeforeItIsGone_data()
    {
        QTest::addColumn<QString>("what");
        QTest::newRow("the game") << QStringLiteral("Game");
        QTest::newRow("scratch") << QStringLiteral("Temp");
        QTest::newRow("everything") << QString();
    }

    void whatIsRemovedHasLeftItsPlaceBeforeItIsGone()
    {
        QFETCH(QString, what);
        keep(QStringLiteral("Game/levels/one"));
        keep(QStringLiteral("Temp/A/extract/one"));
        const QString place = what.isEmpty() ? base() : Paths::root();
        {
            const Standstill nothingGoes;
            if (what.isEmpty())
                Uninstall::everything();
            else if (what == QStringLiteral("Temp"))
                QVERIFY(Leftovers::beginToClear());
            else
                Uninstall::game();
            QVERIFY(!FileOperations::exists(what.isEmpty() ? Paths::root() : Paths::root() + u'/' + what));
            QCOMPARE(aside(place).size(), 1);
        }
        QCOMPARE(aside(place), QStringList());
    }

    void whatAKilledLauncherWasRemovingGoesAtTheNextStart()
    {
        const QString name
            = QStringLiteral(".vantor-platformer-removed-6ba7b810-9dad-11d1-80b4-00c04fd430c8");
        keep(name + QStringLiteral("/levels/one"));
        const QString beside = base() + u'/' + name;
        m_home->write(QDir(m_home->path()).relativeFilePath(beside + QStringLiteral("/Game/one")), "1");
        const QString precious = m_home->write(QStringLiteral("precious/save"), "1");
        QVERIFY(QFile::link(m_home->filePath(QStringLiteral("precious")), beside + QStringLiteral("/link")));

        QVERIFY(Leftovers::clear());
        QCOMPARE(aside(Paths::root()), QStringList());
        QCOMPARE(aside(base()), QStringList());
        QVERIFY(FileOperations::exists(precious));
    }

    void whatOnlyHasASimilarNameStays()
    {
        keep(QStringLiteral("Game/project.godot"));
        const QStringList names { QStringLiteral(".vantor-platformer-removed-"),
                                  QStringLiteral(".vantor-platformer-removed-yesterday") };
        for (const QString &name : names) {
            keep(name + QStringLiteral("/file"));
            QVERIFY(QDir().mkpath(base() + u'/' + name));
        }
        QVERIFY(Leftovers::clear());
        QCOMPARE(aside(Paths::root()), names);
        QCOMPARE(aside(base()), names);
    }

    void aLinkInPlaceOfWhatIsRemovedIsNotFollowed()
    {
        const QString precious = m_home->write(QStringLiteral("precious/save"), "1");
        QVERIFY(QDir().mkpath(base()));
        QVERIFY(QFile::link(
            m_home->filePath(QStringLiteral("precious")),
            base() + QStringLiteral("/.vantor-platformer-removed-6ba7b810-9dad-11d1-80b4-00c04fd430c8")));
        QVERIFY(Leftovers::clear());
        QCOMPARE(aside(base()), QStringList());
        QVERIFY(FileOperations::exists(precious));
    }

    void aGameThatIsBeingRemovedIsNotPutBack()
    {
        keep(QStringLiteral("Temp/A/Game/project.godot"));
        keep(QStringLiteral("Game/project.godot"));
        const Standstill nothingGoes;
        QVERIFY(Leftovers::beginToClear());
        Uninstall::game();
        QVERIFY(Leftovers::beginToClear());
        QVERIFY(!FileOperations::exists(Paths::gameFolder()));
    }

    void whoIsToldToStopWaitsNoLonger()
    {
        keep(QStringLiteral("Temp/A/file"));
        const Standstill nothingGoes;
        std::stop_source stop;
        std::jthread later([&stop] { stop.request_stop(); });
        QVERIFY(Leftovers::clear(stop.get_token()));
        QCOMPARE(aside(Paths::root()).size(), 1);
    }

    void withoutAThreadTheOneWhoWaitsDoesTheWork()
    {
        keep(QStringLiteral("Game/levels/one"));
        for (const QString &path : { m_home->path(), base(), Paths::root(), Paths::gameFolder(),
                                     Paths::gameFolder() + QStringLiteral("/levels") })
            QVERIFY(OrdinaryUser::own(QFile::encodeName(path).constData()));
        QVERIFY(OrdinaryUser::run([] {
            const ThreadLimit none;
            Uninstall::game();
            const bool isAside = aside(Paths::root()).size() == 1;
            BackgroundRemoval::wait({});
            return isAside && aside(Paths::root()).isEmpty();
        }));
    }

private:
    static QString base() { return QFileInfo(Paths::root()).path(); }

    /// Writes `name` in the launcher's folder.
    void keep(const QString &name) const
    {
        m_home->write(QDir(m_home->path()).relativeFilePath(Paths::root() + u'/' + name), "1");
    }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(BackgroundRemovalTest)
#include "BackgroundRemovalTest.moc"
