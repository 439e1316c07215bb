#include "FolderListing.h"

#include "GameFolder.h"
#include "OrdinaryUser.h"

#include <map>

using namespace Qt::StringLiterals;

class FolderListingTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder
            = std::make_unique<GameFolder>(GameFolder::Files { { "folder/file", "1" }, { "file", "1" } });
        m_folder->link("link to folder", u"folder"_s);
        m_folder->link("link to file", u"file"_s);
        m_folder->link("link to nothing", u"nothing"_s);
    }
    void cleanup() { m_folder.reset(); }

    void onlyAFolderItselfIsOne() { QCOMPARE(kinds(), expected); }

    void theKindOfAnEntryIsKnownWithoutAskingForIt()
    {
        // Without search permission on the folder, stat() fails for what is in it.
        m_folder->setMode("", 0744);
        QVERIFY(OrdinaryUser::run([this] { return kinds() == expected; }));
    }

    void whatIsNoFolderCannotBeListed()
    {
        QVERIFY(!listFolder(m_folder->path("nothing")));
        QVERIFY(!listFolder(m_folder->path("file")));
    }

private:
    using Kinds = std::map<QString, bool>;
    const Kinds expected { { u"folder"_s, true },
                           { u"file"_s, false },
                           { u"link to folder"_s, false },
                           { u"link to file"_s, false },
                           { u"link to nothing"_s, false } };

    Kinds kinds() const
    {
        Kinds found;
        for (const FolderEntry &entry : listFolder(m_folder->path()).value_or(QList<FolderEntry>()))
            found.emplace(entry.name, entry.isFolder);
        return found;
    }

    std::unique_ptr<GameFolder> m_folder;
};

QTEST_GUILESS_MAIN(FolderListingTest)
#include "FolderListingTest.moc"
