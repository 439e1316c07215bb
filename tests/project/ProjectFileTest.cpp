#include "ProjectFile.h"

#include <QTest>

#include <limits>

class ProjectFileTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theEmptyTextGivesTheDefaults();
    void anOrdinaryFileIsRead();
    void theVersionIsAnOptionalSignAndDigitsOnly_data();
    void theVersionIsAnOptionalSignAndDigitsOnly();
    void aVersionThatIsNoNumberKeepsTheOneBefore();
    void aNameIsCutAtItsFirstEscapedQuote();
    void theLaterOfTwoNamesWins();
    void aLaterLineOverridesAnEarlierOneForEveryKey();
    void aValueWithoutQuotesIsNone();
    void anEmptyNameIsAName();
    void keysAreRecognisedInAnySection();
    void keysAreComparedExactly_data();
    void keysAreComparedExactly();
    void blanksAroundALineDoNotMatter();
    void everyKindOfLineEndCounts();
    void featuresAreAllQuotedTexts();
    void featuresWithoutTextsEmptyTheList();
    void namesInAnyWritingAreKept();
    void quotedTextsAreThoseBetweenPairsOfQuotes_data();
    void quotedTextsAreThoseBetweenPairsOfQuotes();
    void quotedStopsAtTheMostThatIsAskedFor();
};

void ProjectFileTest::theEmptyTextGivesTheDefaults()
{
    const ProjectFile file = ProjectFile::parse({});
    QCOMPARE(file.name, QStringLiteral("Vantor"));
    QCOMPARE(file.configVersion, 0);
    QCOMPARE(file.features, QStringList());
    QCOMPARE(file.mainScene, QString());
}

void ProjectFileTest::anOrdinaryFileIsRead()
{
    const ProjectFile file
        = ProjectFile::parse("; Engine configuration file.\n"
                             "\n"
                             "config_version=5\n"
                             "\n"
                             "[application]\n"
                             "\n"
                             "config/name=\"My Game\"\n"
                             "run/main_scene=\"res://main.tscn\"\n"
                             "config/features=PackedStringArray(\"4.2\", \"Forward Plus\")\n"
                             "config/icon=\"res://icon.png\"\n");
    QCOMPARE(file.name, QStringLiteral("My Game"));
    QCOMPARE(file.configVersion, 5);
    QCOMPARE(file.mainScene, QStringLiteral("res://main.tscn"));
    QCOMPARE(file.features, (QStringList { QStringLiteral("4.2"), QStringLiteral("Forward Plus") }));
}

void ProjectFileTest::theVersionIsAnOptionalSignAndDigitsOnly_data()
{
    constexpr qint64 ignored = 0;
    QTest::addColumn<QString>("value");
    QTest::addColumn<qint64>("version");
    QTest::newRow("5") << QStringLiteral("5") << qint64 { 5 };
    QTest::newRow("plus") << QStringLiteral("+5") << qint64 { 5 };
    QTest::newRow("minus") << QStringLiteral("-5") << qint64 { -5 };
    QTest::newRow("leading zeros") << QStringLiteral("0005") << qint64 { 5 };
    QTest::newRow("blanks after it") << QStringLiteral("5 \t ") << qint64 { 5 };
    QTest::newRow("the largest") << QStringLiteral("9223372036854775807")
                                 << std::numeric_limits<qint64>::max();
    QTest::newRow("the smallest") << QStringLiteral("-9223372036854775808")
                                  << std::numeric_limits<qint64>::min();
    QTest::newRow("too large") << QStringLiteral("9223372036854775808") << ignored;
    QTest::newRow("too small") << QStringLiteral("-9223372036854775809") << ignored;
    QTest::newRow("abc") << QStringLiteral("abc") << ignored;
    QTest::newRow("nothing") << QString() << ignored;
    QTest::newRow("a sign alone") << QStringLiteral("-") << ignored;
    QTest::newRow("two signs") << QStringLiteral("+-5") << ignored;
    QTest::newRow("a blank before it") << QStringLiteral(" 5") << ignored;
    QTest::newRow("a blank after the sign") << QStringLiteral("+ 5") << ignored;
    QTest::newRow("a comment after it") << QStringLiteral("5 ; five") << ignored;
    QTest::newRow("a fraction") << QStringLiteral("5.0") << ignored;
    QTest::newRow("hexadecimal") << QStringLiteral("0x5") << ignored;
    QTest::newRow("quoted") << QStringLiteral("\"5\"") << ignored;
    QTest::newRow("digits of another writing") << QStringLiteral("\u0665") << ignored;
    QTest::newRow("a full-width digit") << QStringLiteral("\uff15") << ignored;
    QTest::newRow("grouped digits") << QStringLiteral("5,000") << ignored;
}

void ProjectFileTest::theVersionIsAnOptionalSignAndDigitsOnly()
{
    QFETCH(QString, value);
    QFETCH(qint64, version);
    QCOMPARE(ProjectFile::parse("config_version=" + value.toUtf8()).configVersion, version);
}

void ProjectFileTest::aVersionThatIsNoNumberKeepsTheOneBefore()
{
    QCOMPARE(ProjectFile::parse("config_version=5\nconfig_version=abc\nconfig_version=\n"
                                "config_version=9223372036854775808")
                 .configVersion,
             5);
}

void ProjectFileTest::aNameIsCutAtItsFirstEscapedQuote()
{
    QCOMPARE(ProjectFile::parse("config/name=\"The \\\"Best\\\" Game\"").name, QStringLiteral("The \\"));
}

void ProjectFileTest::theLaterOfTwoNamesWins()
{
    QCOMPARE(ProjectFile::parse("config/name=\"First\"\nconfig/name=\"Second\"\n").name,
             QStringLiteral("Second"));
}

void ProjectFileTest::aLaterLineOverridesAnEarlierOneForEveryKey()
{
    const ProjectFile file
        = ProjectFile::parse("config_version=4\nrun/main_scene=\"a\"\nconfig/features=(\"x\")\n"
                             "config_version=5\nrun/main_scene=\"b\"\nconfig/features=(\"y\")\n");
    QCOMPARE(file.configVersion, 5);
    QCOMPARE(file.mainScene, QStringLiteral("b"));
    QCOMPARE(file.features, QStringList { QStringLiteral("y") });
}

void ProjectFileTest::aValueWithoutQuotesIsNone()
{
    const ProjectFile file = ProjectFile::parse("config/name=Plain\nrun/main_scene=res://a.tscn\n");
    QCOMPARE(file.name, QStringLiteral("Vantor"));
    QCOMPARE(file.mainScene, QString());
    QCOMPARE(ProjectFile::parse("config/name=\"One\"\nconfig/name=Two\nconfig/name=\"Thr").name,
             QStringLiteral("One"));
}

void ProjectFileTest::anEmptyNameIsAName()
{
    QCOMPARE(ProjectFile::parse("config/name=\"\"").name, QString());
}

void ProjectFileTest::keysAreRecognisedInAnySection()
{
    const ProjectFile file
        = ProjectFile::parse("[somewhere else]\nconfig/name=\"A\"\nconfig_version=5\n[\n]\n"
                             "run/main_scene=\"b\"\n");
    QCOMPARE(file.name, QStringLiteral("A"));
    QCOMPARE(file.configVersion, 5);
    QCOMPARE(file.mainScene, QStringLiteral("b"));
}

void ProjectFileTest::keysAreComparedExactly_data()
{
    QTest::addColumn<QString>("line");
    for (const char *line : { "config/name =\"A\"", "Config/name=\"A\"", ";config/name=\"A\"", "name=\"A\"",
                              "config/name.de=\"A\"", "application/config/name=\"A\"", "config_version =5",
                              "CONFIG_VERSION=5", "run/main_scene =\"A\"", "config/features =(\"A\")" })
        QTest::newRow(line) << QString::fromLatin1(line);
}

void ProjectFileTest::keysAreComparedExactly()
{
    QFETCH(QString, line);
    const ProjectFile file = ProjectFile::parse(line.toUtf8());
    QCOMPARE(file.name, QStringLiteral("Vantor"));
    QCOMPARE(file.configVersion, 0);
    QCOMPARE(file.features, QStringList());
    QCOMPARE(file.mainScene, QString());
}

void ProjectFileTest::blanksAroundALineDoNotMatter()
{
    const ProjectFile file = ProjectFile::parse("\t config_version=5 \t\n  config/name= \"A\" ; a comment\n");
    QCOMPARE(file.configVersion, 5);
    QCOMPARE(file.name, QStringLiteral("A"));
}

void ProjectFileTest::everyKindOfLineEndCounts()
{
    const QStringList ends { QStringLiteral("\r\n"),   QStringLiteral("\r"),     QStringLiteral("\v"),
                             QStringLiteral("\f"),     QStringLiteral("\u0085"), QStringLiteral("\u2028"),
                             QStringLiteral("\u2029"), QStringLiteral("\n") };
    for (const QString &end : ends) {
        const QString text
            = QStringLiteral("config_version=5") + end + QStringLiteral("config/name=\"A\"") + end;
        const ProjectFile file = ProjectFile::parse(text.toUtf8());
        QCOMPARE(file.configVersion, 5);
        QCOMPARE(file.name, QStringLiteral("A"));
    }
}

void ProjectFileTest::featuresAreAllQuotedTexts()
{
    QCOMPARE(
        ProjectFile::parse("config/features=PackedStringArray(\"4.2\", \"C#\", \"Forward Plus\")").features,
        QStringLiteral("4.2|C#|Forward Plus").split(u'|'));
    QCOMPARE(
        ProjectFile::parse("config/features=PackedStringArray(\"GL Compatibility\",\"4.6\",\"\")").features,
        QStringLiteral("GL Compatibility|4.6|").split(u'|'));
}

void ProjectFileTest::featuresWithoutTextsEmptyTheList()
{
    QCOMPARE(ProjectFile::parse("config/features=(\"4.2\")\nconfig/features=PackedStringArray()").features,
             QStringList());
}

void ProjectFileTest::namesInAnyWritingAreKept()
{
    for (const QString &name : { QStringLiteral("Ünïcödé \u2014 \u6e38\u620f"), QStringLiteral("\U0001F3AE"),
                                 QStringLiteral("a/b\\c"), QStringLiteral("  spaced  ") })
        QCOMPARE(ProjectFile::parse("config/name=\"" + name.toUtf8() + "\"").name, name);
}

void ProjectFileTest::quotedTextsAreThoseBetweenPairsOfQuotes_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("none") << QStringLiteral("a=b") << QStringList();
    QTest::newRow("empty line") << QString() << QStringList();
    QTest::newRow("one") << QStringLiteral("a=\"b\"") << QStringList { QStringLiteral("b") };
    QTest::newRow("two") << QStringLiteral("\"b\", \"c\"") << QStringLiteral("b c").split(u' ');
    QTest::newRow("an empty one") << QStringLiteral("\"\"") << QStringList { QString() };
    QTest::newRow("touching") << QStringLiteral("\"a\"\"b\"") << QStringLiteral("a b").split(u' ');
    QTest::newRow("never closed") << QStringLiteral("\"b") << QStringList();
    QTest::newRow("the last never closed")
        << QStringLiteral("\"a\" \"b") << QStringList { QStringLiteral("a") };
    QTest::newRow("a quote alone") << QStringLiteral("\"") << QStringList();
    QTest::newRow("escapes mean nothing")
        << QStringLiteral("\"a\\\"b\"") << QStringList { QStringLiteral("a\\") };
}

void ProjectFileTest::quotedTextsAreThoseBetweenPairsOfQuotes()
{
    QFETCH(QString, line);
    QFETCH(QStringList, texts);
    QCOMPARE(quoted(line.toUtf8()), texts);
}

void ProjectFileTest::quotedStopsAtTheMostThatIsAskedFor()
{
    QCOMPARE(quoted("\"a\"\"b\"\"c\"", 2), QStringLiteral("a b").split(u' '));
    QCOMPARE(quoted("\"a\"", 0), QStringList());
}

QTEST_GUILESS_MAIN(ProjectFileTest)
#include "ProjectFileTest.moc"
