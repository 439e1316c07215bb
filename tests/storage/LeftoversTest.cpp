#include "Leftovers.h"

#include "LauncherFolder.h"
#include "SmallDisk.h"

#include <QTest>

using namespace Qt::StringLiterals;
using LauncherFolder::fill;
using LauncherFolder::has;

class LeftoversTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }

    void theGameThatWasAboutToBeReplacedIsPutBackAndTempIsEmptied()
    {
        fill(*m_home,
             { u"Temp/A/Game/project.godot"_s, u"Temp/A/game.zip.part"_s,
               u"Temp/B/extract/Vantor-master/project.godot"_s });
        QVERIFY(Leftovers::clear());
        QVERIFY(has(u"Game/project.godot"_s));
        QVERIFY(!has(u"Temp"_s));
    }

    void aGameThatCannotBePutBackKeepsTempAsItIs()
    {
        const QString project = u"Temp/A/Game/project.godot"_s;
        fill(*m_home, { project });
        {
            const SmallDisk disk(Paths::tempFolder() + u"/A/Game"_s);
            if (!disk.isMounted())
                QSKIP(SmallDisk::cannotMount);
            fill(*m_home, { project });
            QVERIFY(!Leftovers::clear());
            QVERIFY(has(project));
        }
        QVERIFY(Leftovers::clear());
        QVERIFY(has(u"Game/project.godot"_s));
    }

    void halfWrittenFilesAreDeletedAndWhatIsInstalledStays()
    {
        fill(*m_home,
             { u"Game/.write-6ba7b810-9dad-11d1-80b4-00c04fd430c8"_s, u"Game/.write-ahead"_s,
               u"Game/project.godot"_s, u"Engine/4.6/Godot"_s });
        QVERIFY(Leftovers::clear());
        QCOMPARE(m_home->list(Paths::gameFolder()), QStringList({ u".write-ahead"_s, u"project.godot"_s }));
        QVERIFY(has(u"Engine/4.6/Godot"_s));
    }

    void clearingNothingCreatesNothing()
    {
        QVERIFY(Leftovers::clear());
        QVERIFY(!FileOperations::exists(Paths::root()));
    }

private:
    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(LeftoversTest)
#include "LeftoversTest.moc"
