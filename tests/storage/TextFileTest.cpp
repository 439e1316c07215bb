#include "TextFile.h"

#include "Table.h"
#include "TestHome.h"

#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// Makes something in the home, and returns the path to read.
using Make = std::function<QString()>;

constexpr qsizetype largestText = 50 * 1024 * 1024;

}

class TextFileTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }

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
        const auto text = TextFile::read(m_home->write(u"a"_s, content));
        QVERIFY(text.has_value());
        QVERIFY(*text == content); // QCOMPARE would print all of it
    }

    void aByteOrderMarkAtTheStartIsLeftOut()
    {
        QCOMPARE(TextFile::read(m_home->write(u"a"_s, "\xEF\xBB\xBFone")), QByteArray("one"));
    }

    void aLinkToATextIsRead()
    {
        m_home->write(u"real"_s, "text");
        QCOMPARE(TextFile::read(m_home->link(u"link"_s, u"real"_s)), QByteArray("text"));
    }

    void whatIsNoTextIsNothing_data()
    {
        const auto row = table<Make>("make");
        row("no path", [] { return QString(); });
        row("a missing file", [this] { return m_home->filePath(u"nothing"_s); });
        row("a folder", [this] { return m_home->path(); });
        row("a file below a file", [this] { return m_home->write(u"a"_s, "a") + u"/b"_s; });
        row("a pipe, which must not block", [this] { return m_home->pipe(u"pipe"_s); });
        row("a device", [] { return u"/dev/zero"_s; });
        row("a link to nothing", [this] { return m_home->link(u"link"_s, u"nothing"_s); });
        const auto sized = [&](const char *name, qint64 size) {
            row(name, [this, size] {
                const QString path = m_home->write(u"a"_s, "x");
                return QFile::resize(path, size) ? path : QString();
            });
        };
        sized("a byte more than fifty megabytes", largestText + 1);
        sized("a hundred gigabytes", 100LL * 1000 * 1000 * 1000);
        const auto written = [&](const char *name, const QByteArray &content) {
            row(name, [this, content] { return m_home->write(u"a"_s, content); });
        };
        written("Latin-1", "gr\xFCn");
        written("UTF-16 with its mark", QByteArray("\xFF\xFEx\0", 4));
        written("cut off at the end", "a\xE2\x82");
        written("a surrogate", "\xED\xA0\x80");
        written("overlong", "\xC0\xAF");
        written("beyond the last code point", "\xF4\x90\x80\x80");
    }

    void whatIsNoTextIsNothing()
    {
        QFETCH(Make, make);
        QVERIFY(!TextFile::read(make()).has_value());
    }

    void everyNewlineCharacterEndsALine()
    {
        for (const QChar code : u"\n\v\f\r\u0085\u2028\u2029"_s) {
            QVERIFY2(TextFile::isNewline(code), qPrintable(QString::number(code.unicode(), 16)));
            QCOMPARE(TextFile::lines(u"a"_s + code + u'b'), QStringList({ u"a"_s, u"b"_s }));
        }
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

private:
    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(TextFileTest)
#include "TextFileTest.moc"
