#include "ProjectInspector.h"

#include "GameFolder.h"
#include "Rows.h"

#include <QElapsedTimer>
using namespace Qt::StringLiterals;
using ProjectInspector::findProjectRoot;

class ProjectRootTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theShallowestProjectFileIsFound_data()
    {
        // A null root: nothing is found.
        const auto row = rows([](const QStringList &files, const QString &root) {
            const GameFolder archive;
            for (const QString &file : files)
                archive.write(file, "");
            const auto found = findProjectRoot(archive.path());
            QCOMPARE(found ? QDir(archive.path()).relativeFilePath(*found) : QString(), root);
        });
        row("in the folder itself", { u"project.godot"_s }, u"."_s);
        row("the shallower of two", { u"top/addons/demo/project.godot"_s, u"top/project.godot"_s }, u"top"_s);
        // With so many folders, some deeper file is almost certainly listed before the shallow one.
        QStringList manyAndOne { u"h/project.godot"_s };
        for (char name = 'a'; name <= 'p'; ++name)
            manyAndOne.append(u"%1/deep/er/project.godot"_s.arg(QLatin1Char(name)));
        row("a shallower one though a deeper one is listed first", manyAndOne, u"h"_s);
        row("in the fourth level", { u"1/2/3/project.godot"_s }, u"1/2/3"_s);
        row("not in the fifth level", { u"1/2/3/4/project.godot"_s, u"1/2/3/4/5/project.godot"_s }, {});
        row("not in a hidden folder", { u".git/project.godot"_s }, {});
        row("beside a hidden folder", { u".git/project.godot"_s, u"a/b/project.godot"_s }, u"a/b"_s);
        row("an entry of any kind", { u"game/project.godot/a file in a folder"_s }, u"game"_s);
        row("nothing in an empty folder", {}, {});
        for (const QString &name : { u"Project.godot"_s, u"project.Godot"_s, u"PROJECT.GODOT"_s,
                                     u"project.godot.bak"_s, u"my-project.godot"_s, u"project"_s })
            row(qPrintable(u"not "_s + name), { name }, {});
    }
    void theShallowestProjectFileIsFound() { runRow(); }

    void aHiddenFolderAboveTheSearchedOneDoesNotMatter()
    {
        const GameFolder home { { ".local/share/archive/project.godot", "" } };
        const QString archive = home.path(".local/share/archive");
        QCOMPARE(findProjectRoot(archive), archive);
    }

    void ofSeveralAtOneDepthTheFirstInListingOrderWins()
    {
        const GameFolder archive;
        for (int number = 0; number < 40; ++number)
            archive.write(u"game-%1/project.godot"_s.arg(number * 7919 % 1000), "");
        QCOMPARE(findProjectRoot(archive.path()), archive.path(archive.listed().first()));
    }

    void nothingIsFoundWhereThereIsNoFolder()
    {
        const GameFolder home;
        QCOMPARE(findProjectRoot(home.path("missing")), std::nullopt);
        QCOMPARE(findProjectRoot(home.write("project.godot", "")), std::nullopt);
        QCOMPARE(findProjectRoot({}), std::nullopt);
    }

    void linksToFoldersAreNotFollowed()
    {
        const GameFolder home { { "elsewhere/project.godot", "" } };
        home.link("archive/link", home.path("elsewhere"));
        QCOMPARE(findProjectRoot(home.path("archive")), std::nullopt);
    }

    void aFolderFullOfLinksToEverywhereIsHarmlessAndQuick()
    {
        const GameFolder archive;
        for (const QString &folder : { u"."_s, u"a"_s, u"a/b"_s, u"a/b/c"_s }) {
            for (int number = 0; number < 50; ++number) {
                const QString link = u"%1/link%2-"_s.arg(folder).arg(number);
                archive.link(link + u"disk"_s, u"/"_s);
                archive.link(link + u"itself"_s, u"."_s);
                archive.link(link + u"parent"_s, u".."_s);
                archive.link(link + u"nothing"_s, u"nowhere"_s);
            }
        }
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(findProjectRoot(archive.path()), std::nullopt);
        const ProjectInfo info = ProjectInspector::inspect(archive.path());
        QCOMPARE(info.controls.size(), 2);
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    }

    void anUnreadableFolderIsPassedOver()
    {
        const GameFolder archive { { "locked/project.godot", "" }, { "open/below/project.godot", "" } };
        archive.makePipe("pipe");
        archive.link("loop", u"loop"_s);
        archive.setMode("locked", 0);
        const bool permissionsCount = !QFileInfo(archive.path("locked")).isReadable();
        const auto found = findProjectRoot(archive.path());
        archive.setMode("locked", 0700);
        // The superuser can read the locked folder, too.
        QCOMPARE(found, archive.path(permissionsCount ? "open/below" : "locked"));
    }

    void manyFoldersAreSearchedQuickly()
    {
        const GameFolder archive;
        for (int number = 0; number < 2000; ++number)
            archive.makeFolder(u"%1/%2"_s.arg(number % 50).arg(number));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(findProjectRoot(archive.path()), std::nullopt);
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    }
};

QTEST_GUILESS_MAIN(ProjectRootTest)
#include "ProjectRootTest.moc"
