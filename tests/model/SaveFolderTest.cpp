#include "SaveFolder.h"

#include "Rows.h"

#include <QDir>

using namespace Qt::StringLiterals;

class SaveFolderTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theGamesOwnFolderComesFirstAndNeverLeadsOutOfTheDataFolder_data()
    {
        const auto row = rows([](const QString &name, const QString &folder) {
            const QStringList candidates = saveFolderCandidates(u"/data/Godot"_s, name);
            QCOMPARE(candidates,
                     QStringList({ u"/data/Godot/app_userdata/"_s + folder, u"/data/Godot/app_userdata"_s,
                                   u"/data/Godot"_s }));
            QCOMPARE(QDir::cleanPath(candidates.first()), candidates.first());
            QVERIFY(!folder.contains(u'/'));
        });
        row("a name", u"My Game"_s, u"My Game"_s);
        row("what folders may not contain becomes hyphens", u"Who? Me: a/b"_s, u"Who- Me- a-b"_s);
        row("blanks at the ends are no part of it", u" \t My Game \n"_s, u"My Game"_s);
        for (const QString &dots : { u"..."_s, u"..a"_s, u"a.."_s, u"a..b"_s, u".hidden"_s })
            row(qPrintable(u"the dots are part of "_s + dots), dots, dots);
        row("up", u"../x"_s, u"..-x"_s);
        row("far up", u"../../.."_s, u"..-..-.."_s);
        row("absolute", u"/etc"_s, u"-etc"_s);
        row("only a slash", u"/"_s, u"-"_s);
        row("the parent and a slash", u"../"_s, u"..-"_s);
        row("backslashes", u"..\\..\\x"_s, u"..-..-x"_s);
        row("in and out", u"a/../../../b"_s, u"a-..-..-..-b"_s);
        row("a drive", u"C:\\x"_s, u"C--x"_s);
        row("another writing of the slash", u"..\uff0f..\u2215x"_s, u"..\uff0f..\u2215x"_s);
        const QString half = u".."_s + QChar(0xd800);
        row("half a character", half + half, half + half);
        row("very long", QString(100'000, u'/'), QString(100'000, u'-'));
    }
    void theGamesOwnFolderComesFirstAndNeverLeadsOutOfTheDataFolder() { runRow(); }

    void aNameThatIsNoFoldersNameHasNoFolderOfItsOwn_data()
    {
        const auto row = rows([](const QString &name) {
            QCOMPARE(saveFolderCandidates(u"/d"_s, name), QStringList({ u"/d/app_userdata"_s, u"/d"_s }));
        });
        row("empty", {});
        row("blanks", u" \t "_s);
        row("the folder itself", u"."_s);
        row("its parent", u".."_s);
        row("its parent in blanks", u" .. "_s);
        row("a NUL", u"\0"_s);
        row("its parent, cut off by a NUL", u"..\0x"_s);
        row("a NUL within", u"a\0b"_s);
    }
    void aNameThatIsNoFoldersNameHasNoFolderOfItsOwn() { runRow(); }
};

QTEST_GUILESS_MAIN(SaveFolderTest)
#include "SaveFolderTest.moc"
