#include "TextFile.h"

#include "Table.h"
#include "TestHome.h"

#include <QTest>

#include <sys/stat.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// Makes something in the home, and returns the path to read.
using Make = std::function<QString(const TestHome &home)>;

constexpr qsizetype largestText = 50 * 1024 * 1024;

}

class TextFileTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTextIsReadAsItIs_data()
    {
        const auto row = table<QByteArray>("content");
        row("lines, spaces and emoji", " [application]\r\nconfig/name=\"Größe 😀\"\n\n");
        row("nothing", {});
        row("a byte order mark at the end", "one\xEF\xBB\xBF");
        row("a NUL byte", QByteArray("x\0y", 3));
        row("fifty megabytes", QByteArray(largestText, 'x'));
    }

    void aTextIsReadAsItIs()
    {
        QFETCH(QByteArray, content);
        const TestHome home;
        const auto text = TextFile::read(home.write(u"a"_s, content));
        QVERIFY(text.has_value());
        QVERIFY(*text == content); // QCOMPARE would print all of it
    }

    void aByteOrderMarkAtTheStartIsLeftOut()
    {
        const TestHome home;
        QCOMPARE(TextFile::read(home.write(u"a"_s, "\xEF\xBB\xBFone")), QByteArray("one"));
    }

    void aLinkToATextIsRead()
    {
        const TestHome home;
        home.write(u"real"_s, "text");
        QCOMPARE(TextFile::read(home.link(u"link"_s, u"real"_s)), QByteArray("text"));
    }

    void whatIsNoTextIsNothing_data()
    {
        const auto row = table<Make>("make");
        row("no path", [](const TestHome &) { return QString(); });
        row("a missing file", [](const TestHome &home) { return home.filePath(u"nothing"_s); });
        row("a folder", [](const TestHome &home) { return home.path(); });
        row("a file below a file", [](const TestHome &home) { return home.write(u"a"_s, "a") + u"/b"_s; });
        row("a pipe, which must not block", [](const TestHome &home) {
            return ::mkfifo(home.bytes(u"pipe"_s).constData(), 0600) == 0 ? home.filePath(u"pipe"_s)
                                                                          : u"no pipe was made"_s;
        });
        row("a device", [](const TestHome &) { return u"/dev/zero"_s; });
        row("a link to nothing", [](const TestHome &home) { return home.link(u"link"_s, u"nothing"_s); });
        const auto sized = [&row](const char *name, qint64 size) {
            row(name, [size](const TestHome &home) {
                const QString path = home.write(u"a"_s, "x");
                return QFile::resize(path, size) ? path : QString();
            });
        };
        sized("a byte more than fifty megabytes", largestText + 1);
        sized("a hundred gigabytes", 100LL * 1000 * 1000 * 1000);
        const auto written = [&row](const char *name, const QByteArray &content) {
            row(name, [content](const TestHome &home) { return home.write(u"a"_s, content); });
        };
        written("Latin-1",
                "Gr\xF6\xDF"
                "e");
        written("UTF-16 with its mark",
                QByteArray("\xFF\xFE"
                           "a\0",
                           4));
        written("cut off at the end", "a\xE2\x82");
        written("a surrogate", "\xED\xA0\x80");
        written("overlong", "\xC0\xAF");
        written("beyond the last code point", "\xF4\x90\x80\x80");
    }

    void whatIsNoTextIsNothing()
    {
        QFETCH(Make, make);
        const TestHome home;
        QVERIFY(!TextFile::read(make(home)).has_value());
    }

    void everyNewlineCharacterEndsALine_data()
    {
        QTest::addColumn<char16_t>("code");
        for (const char16_t code : { u'\n', u'\v', u'\f', u'\r', u'\u0085', u'\u2028', u'\u2029' })
            QTest::addRow("U+%04X", static_cast<unsigned>(code)) << code;
    }

    void everyNewlineCharacterEndsALine()
    {
        QFETCH(char16_t, code);
        QVERIFY(TextFile::isNewline(code));
        QCOMPARE(TextFile::lines(u'a' + QString(QChar(code)) + u'b'), QStringList({ u"a"_s, u"b"_s }));
    }

    void otherCharactersDoNotEndALine()
    {
        for (const QChar code : u"\0\t\x0E\x1C\x1E \x84\x86\u00A0\u2027\u202A"_s)
            QVERIFY2(!TextFile::isNewline(code), qPrintable(QString::number(code.unicode(), 16)));
    }

    void emptyLinesAreKept()
    {
        QCOMPARE(TextFile::lines(QString()), QStringList(QString()));
        QCOMPARE(TextFile::lines(u"a\r\nb"_s), QStringList({ u"a"_s, QString(), u"b"_s }));
        QCOMPARE(TextFile::lines(u"\na\n"_s), QStringList({ QString(), u"a"_s, QString() }));
    }
};

QTEST_GUILESS_MAIN(TextFileTest)
#include "TextFileTest.moc"
