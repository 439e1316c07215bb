#include "FolderListing.h"

#include "OrdinaryUser.h"
#include "TestHome.h"

#include <QTest>

#include <sys/stat.h>

#include <map>

class FolderListingTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyAFolderItselfIsOne()
    {
        const TestHome home;
        fill(home);
        QCOMPARE(kinds(home.path()), expected());
    }

    void theKindOfAnEntryIsKnownWithoutAskingForIt()
    {
        // Without search permission on the folder, stat() fails for what is in it.
        const TestHome home;
        fill(home);
        QCOMPARE(::chmod(QFile::encodeName(home.path()).constData(), 0744), 0);
        QVERIFY(OrdinaryUser::run([&home] { return kinds(home.path()) == expected(); }));
    }

    void aFolderThatCannotBeListedIsNone()
    {
        const TestHome home;
        QVERIFY(!listFolder(home.filePath(QStringLiteral("nothing"))));
        QVERIFY(!listFolder(home.write(QStringLiteral("file"), "1")));
    }

private:
    using Kinds = std::map<QString, bool>;

    static void fill(const TestHome &home)
    {
        home.write(QStringLiteral("folder/file"), "1");
        home.write(QStringLiteral("file"), "1");
        QVERIFY(QFile::link(QStringLiteral("folder"), home.filePath(QStringLiteral("link to folder"))));
        QVERIFY(QFile::link(QStringLiteral("file"), home.filePath(QStringLiteral("link to file"))));
        QVERIFY(QFile::link(QStringLiteral("nothing"), home.filePath(QStringLiteral("link to nothing"))));
    }

    static Kinds expected()
    {
        return { { QStringLiteral("folder"), true },
                 { QStringLiteral("file"), false },
                 { QStringLiteral("link to folder"), false },
                 { QStringLiteral("link to file"), false },
                 { QStringLiteral("link to nothing"), false } };
    }

    static Kinds kinds(const QString &folder)
    {
        Kinds found;
        for (const FolderEntry &entry : listFolder(folder).value_or(QList<FolderEntry>()))
            found.emplace(entry.name, entry.isFolder);
        return found;
    }
};

QTEST_GUILESS_MAIN(FolderListingTest)
#include "FolderListingTest.moc"
