#include "ChecksumList.h"

#include "Table.h"

using namespace Qt::StringLiterals;

class ChecksumListTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theHashOfTheNamedFileIsFound_data()
    {
        const auto row = table<QByteArray, QByteArray>("list", "hash"); // null: no such line
        row("empty list", "", {});
        row("the tool's own form", "aaa  other.zip\nbbb  Godot.zip\n", "bbb");
        row("binary mark", "bbb *Godot.zip\n", "bbb");
        row("binary mark behind two blanks", "bbb  *Godot.zip\n", "bbb");
        row("marks anywhere in the name", "bbb **Go*dot.zip*\n", "bbb");
        row("a tab", "bbb\tGodot.zip\n", "bbb");
        row("tabs and blanks all over", " \t bbb \t  Godot.zip \t\n", "bbb");
        row("carriage returns", "aaa  other.zip\r\nbbb  Godot.zip\r\n", "bbb");
        row("carriage returns only", "aaa  other.zip\rbbb  Godot.zip\r", "bbb");
        row("no newline at the end", "bbb  Godot.zip", "bbb");
        row("another kind of newline",
            "aaa  other.zip\xe2\x80\xa8"
            "bbb  Godot.zip",
            "bbb");
        row("upper case stays", "BBB  Godot.zip\n", "BBB");
        row("twice: the first holds", "aaa  Godot.zip\nbbb  Godot.zip\n", "aaa");
        row("pieces between are ignored", "aaa one two  Godot.zip\n", "aaa");
        row("a line with the name only", "Godot.zip\nbbb  Godot.zip\n", "bbb");
        row("a line with a hash only", "aaa\nbbb  Godot.zip\n", "bbb");
        row("empty lines", "\n\n\nbbb  Godot.zip\n", "bbb");
        row("another letter case is another name", "bbb  godot.zip\n", {});
        row("a longer name", "bbb  Godot.zip.part\n", {});
        row("a name in a folder", "bbb  ./Godot.zip\n", {});
        row("the name in the middle", "bbb  Godot.zip more\n", {});
        row("other names only", "aaa  Godot.tar.xz\nbbb  Godot.apk\n", {});
        row("a page in place of the list", "<html><body>Not here</body></html>", {});
        row("a non-breaking space is no blank", "bbb\xc2\xa0Godot.zip\n", {});
    }

    void theHashOfTheNamedFileIsFound()
    {
        QFETCH(QByteArray, list);
        QFETCH(QByteArray, hash);
        const auto found = ChecksumList::hash(QString::fromUtf8(list), u"Godot.zip"_s);
        QCOMPARE(found.has_value(), !hash.isNull());
        QCOMPARE(found.value_or(QString()), QString::fromUtf8(hash));
    }
};

QTEST_GUILESS_MAIN(ChecksumListTest)
#include "ChecksumListTest.moc"
