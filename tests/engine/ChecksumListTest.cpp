#include "ChecksumList.h"

#include <QTest>

class ChecksumListTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theHashOfTheNamedFileIsFound_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("hash"); // null: no such line
        const auto row = [](const char *name, const char *list, const char *hash) {
            QTest::newRow(name) << QString::fromUtf8(list) << QString::fromUtf8(hash);
        };
        row("empty list", "", nullptr);
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
        row("another letter case is another name", "bbb  godot.zip\n", nullptr);
        row("a longer name", "bbb  Godot.zip.part\n", nullptr);
        row("a name in a folder", "bbb  ./Godot.zip\n", nullptr);
        row("the name in the middle", "bbb  Godot.zip more\n", nullptr);
        row("other names only", "aaa  Godot.tar.xz\nbbb  Godot.apk\n", nullptr);
        row("a page in place of the list", "<html><body>Not here</body></html>", nullptr);
        row("a non-breaking space is no blank", "bbb\xc2\xa0Godot.zip\n", nullptr);
    }

    void theHashOfTheNamedFileIsFound()
    {
        QFETCH(QString, list);
        QFETCH(QString, hash);
        const auto found = ChecksumList::hash(list, QStringLiteral("Godot.zip"));
        QCOMPARE(found.has_value(), !hash.isNull());
        QCOMPARE(found.value_or(QString()), hash);
    }
};

QTEST_GUILESS_MAIN(ChecksumListTest)
#include "ChecksumListTest.moc"
