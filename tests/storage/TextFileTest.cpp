#include "TextFile.h"

#include "TestHome.h"

#include <QTest>

#include <sys/stat.h>

class TextFileTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTextIsReadAsItIs();
    void anEmptyFileIsAnEmptyText();
    void aByteOrderMarkIsLeftOut();
    void aNulByteIsPartOfTheText();
    void aMissingFileIsNone();
    void aFolderIsNone();
    void aFileBelowAFileIsNone();
    void aPipeIsNoneAndDoesNotBlock();
    void aDeviceIsNone();
    void aLinkToATextIsRead();
    void whatIsNotUtf8IsNone_data();
    void whatIsNotUtf8IsNone();
    void fiftyMegabytesAreReadAndNotAByteMore();
    void whatIsFarTooLargeForATextIsNone();
    void everyNewlineCharacterEndsALine_data();
    void everyNewlineCharacterEndsALine();
    void otherCharactersDoNotEndALine();
    void emptyLinesAreKept();
};

void TextFileTest::aTextIsReadAsItIs()
{
    const TestHome home;
    const QString text = QStringLiteral(" [application]\r\nconfig/name=\"Größe 😀\"\n\n");
    QCOMPARE(TextFile::read(home.write(QStringLiteral("project.godot"), text.toUtf8())), text.toUtf8());
}

void TextFileTest::anEmptyFileIsAnEmptyText()
{
    const TestHome home;
    const auto text = TextFile::read(home.write(QStringLiteral("README"), {}));
    QVERIFY(text.has_value());
    QVERIFY(text->isEmpty());
}

void TextFileTest::aByteOrderMarkIsLeftOut()
{
    const TestHome home;
    QCOMPARE(TextFile::read(home.write(QStringLiteral("a"), "\xEF\xBB\xBFone")), QByteArray("one"));
    QCOMPARE(TextFile::read(home.write(QStringLiteral("b"), "one\xEF\xBB\xBF")),
             QByteArray("one\xEF\xBB\xBF"));
}

void TextFileTest::aNulByteIsPartOfTheText()
{
    const TestHome home;
    const auto text = TextFile::read(home.write(QStringLiteral("a"), QByteArray("x\0y", 3)));
    QVERIFY(text.has_value());
    QCOMPARE(text->size(), 3);
}

void TextFileTest::aMissingFileIsNone()
{
    const TestHome home;
    QVERIFY(!TextFile::read(home.filePath(QStringLiteral("nothing"))).has_value());
    QVERIFY(!TextFile::read(QString()).has_value());
}

void TextFileTest::aFolderIsNone()
{
    const TestHome home;
    QVERIFY(!TextFile::read(home.path()).has_value());
}

void TextFileTest::aFileBelowAFileIsNone()
{
    const TestHome home;
    QVERIFY(!TextFile::read(home.write(QStringLiteral("a"), "a") + QStringLiteral("/b")).has_value());
}

void TextFileTest::aPipeIsNoneAndDoesNotBlock()
{
    const TestHome home;
    const QString pipe = home.filePath(QStringLiteral("README.md"));
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QVERIFY(!TextFile::read(pipe).has_value());
}

void TextFileTest::aDeviceIsNone() { QVERIFY(!TextFile::read(QStringLiteral("/dev/zero")).has_value()); }

void TextFileTest::aLinkToATextIsRead()
{
    const TestHome home;
    home.write(QStringLiteral("real"), "text");
    QVERIFY(QFile::link(QStringLiteral("real"), home.filePath(QStringLiteral("link"))));
    QCOMPARE(TextFile::read(home.filePath(QStringLiteral("link"))), QByteArray("text"));
    QVERIFY(QFile::link(QStringLiteral("nothing"), home.filePath(QStringLiteral("dangling"))));
    QVERIFY(!TextFile::read(home.filePath(QStringLiteral("dangling"))).has_value());
}

void TextFileTest::whatIsNotUtf8IsNone_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("Latin-1") << QByteArray("Gr\xF6\xDF"
                                           "e");
    QTest::newRow("UTF-16 with its mark") << QByteArray("\xFF\xFE"
                                                        "a\0",
                                                        4);
    QTest::newRow("cut off at the end") << QByteArray("a\xE2\x82");
    QTest::newRow("surrogate") << QByteArray("\xED\xA0\x80");
    QTest::newRow("overlong") << QByteArray("\xC0\xAF");
    QTest::newRow("beyond the last code point") << QByteArray("\xF4\x90\x80\x80");
}

void TextFileTest::whatIsNotUtf8IsNone()
{
    QFETCH(QByteArray, content);
    const TestHome home;
    QVERIFY(!TextFile::read(home.write(QStringLiteral("a"), content)).has_value());
}

void TextFileTest::fiftyMegabytesAreReadAndNotAByteMore()
{
    const TestHome home;
    const qsizetype size = 50 * 1024 * 1024;
    const QString path = home.write(QStringLiteral("a"), QByteArray(size, 'x'));
    const auto text = TextFile::read(path);
    QVERIFY(text.has_value());
    QCOMPARE(text->size(), size);
    QVERIFY(QFile::resize(path, size + 1));
    QVERIFY(!TextFile::read(path).has_value());
}

void TextFileTest::whatIsFarTooLargeForATextIsNone()
{
    const TestHome home;
    const QString path = home.write(QStringLiteral("a"), {});
    QVERIFY(QFile::resize(path, 100LL * 1000 * 1000 * 1000));
    QVERIFY(!TextFile::read(path).has_value());
}

void TextFileTest::everyNewlineCharacterEndsALine_data()
{
    QTest::addColumn<char16_t>("code");
    for (const char16_t code : { u'\n', u'\v', u'\f', u'\r', u'\u0085', u'\u2028', u'\u2029' })
        QTest::addRow("U+%04X", static_cast<unsigned>(code)) << code;
}

void TextFileTest::everyNewlineCharacterEndsALine()
{
    QFETCH(char16_t, code);
    const QStringList expected { QStringLiteral("a"), QStringLiteral("b") };
    QVERIFY(TextFile::isNewline(code));
    QCOMPARE(TextFile::lines(u'a' + QString(QChar(code)) + u'b'), expected);
}

void TextFileTest::otherCharactersDoNotEndALine()
{
    for (const char16_t code :
         { u'\0', u'\t', u'\x0E', u'\x1C', u'\x1E', u' ', u'\x84', u'\x86', u'\u00A0', u'\u2027', u'\u202A' })
        QVERIFY2(!TextFile::isNewline(code), qPrintable(QString::number(code, 16)));
}

void TextFileTest::emptyLinesAreKept()
{
    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("b");
    QCOMPARE(TextFile::lines(QString()), QStringList(QString()));
    QCOMPARE(TextFile::lines(QStringLiteral("a\r\nb")), QStringList({ a, QString(), b }));
    QCOMPARE(TextFile::lines(QStringLiteral("\na\n")), QStringList({ QString(), a, QString() }));
}

QTEST_GUILESS_MAIN(TextFileTest)
#include "TextFileTest.moc"
