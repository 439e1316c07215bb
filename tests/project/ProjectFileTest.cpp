#include "ProjectFile.h"

#include "Rows.h"

#include <limits>

using namespace Qt::StringLiterals;

class ProjectFileTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyKeyIsReadFromItsLines_data()
    {
        const auto row = rows([](const QByteArray &text, const ProjectFile &expected) {
            const ProjectFile file = ProjectFile::parse(text);
            QCOMPARE(file.name, expected.name);
            QCOMPARE(file.configVersion, expected.configVersion);
            QCOMPARE(file.features, expected.features);
            QCOMPARE(file.mainScene, expected.mainScene);
        });
        const auto named = [](const QString &name) { return ProjectFile { name, 0, {}, {} }; };
        const auto tagged = [](const QStringList &features) {
            return ProjectFile { u"Vantor"_s, 0, features, {} };
        };

        row("the empty text has the defaults", "", { u"Vantor"_s, 0, {}, {} });
        row("an ordinary file",
            "; Engine configuration file.\n\nconfig_version=5\n\n[application]\n\nconfig/name=\"My Game\"\n"
            "run/main_scene=\"res://main.tscn\"\n"
            "config/features=PackedStringArray(\"4.2\", \"Forward Plus\")\nconfig/icon=\"res://icon.png\"\n",
            { u"My Game"_s, 5, { u"4.2"_s, u"Forward Plus"_s }, u"res://main.tscn"_s });
        row("in any section",
            "[somewhere else]\nconfig/name=\"A\"\nconfig_version=5\n[\n]\nrun/main_scene=\"b\"\n",
            { u"A"_s, 5, {}, u"b"_s });
        row("a later line overrides an earlier one for every key",
            "config_version=4\nconfig/name=\"A\"\nrun/main_scene=\"a\"\nconfig/features=(\"x\")\n"
            "config_version=5\nconfig/name=\"B\"\nrun/main_scene=\"b\"\nconfig/features=(\"y\")\n",
            { u"B"_s, 5, { u"y"_s }, u"b"_s });
        row("blanks around a line do not matter",
            "\t config_version=5 \t\n  config/name= \"A\" ; a comment\n", { u"A"_s, 5, {}, {} });
        for (const char *end : { "\r\n", "\r", "\v", "\f", "\u0085", "\u2028", "\u2029", "\n" })
            row(("lines that end in " + QByteArray(end).toHex()).constData(),
                QByteArray("config_version=5") + end + "config/name=\"A\"" + end, { u"A"_s, 5, {}, {} });
        row("a version that is no number keeps the one before",
            "config_version=5\nconfig_version=abc\nconfig_version=\nconfig_version=9223372036854775808",
            { u"Vantor"_s, 5, {}, {} });

        row("values without quotes do not count", "config/name=Plain\nrun/main_scene=res://a.tscn\n",
            named(u"Vantor"_s));
        row("nor do they override", "config/name=\"One\"\nconfig/name=Two\nconfig/name=\"Thr",
            named(u"One"_s));
        row("an empty name is a name", "config/name=\"\"", named({}));
        row("a name is cut at its first escaped quote", "config/name=\"The \\\"Best\\\" Game\"",
            named(u"The \\"_s));
        for (const QString &name :
             { u"Ünïcödé \u2014 \u6e38\u620f"_s, u"\U0001F3AE"_s, u"a/b\\c"_s, u"  spaced  "_s })
            row(qPrintable(u"the name "_s + name), "config/name=\"" + name.toUtf8() + "\"", named(name));

        row("features are all quoted texts",
            "config/features=PackedStringArray(\"4.2\", \"C#\", \"Forward Plus\")",
            tagged({ u"4.2"_s, u"C#"_s, u"Forward Plus"_s }));
        row("an empty feature", "config/features=PackedStringArray(\"GL Compatibility\",\"4.6\",\"\")",
            tagged({ u"GL Compatibility"_s, u"4.6"_s, {} }));
        row("features without texts empty the list",
            "config/features=(\"4.2\")\nconfig/features=PackedStringArray()", tagged({}));

        for (const char *line :
             { "config/name =\"A\"", "Config/name=\"A\"", ";config/name=\"A\"", "name=\"A\"",
               "config/name.de=\"A\"", "application/config/name=\"A\"", "config_version =5",
               "CONFIG_VERSION=5", "run/main_scene =\"A\"", "config/features =(\"A\")" })
            row(qPrintable(u"no key in "_s + QLatin1StringView(line)), line, named(u"Vantor"_s));
    }
    void everyKeyIsReadFromItsLines() { runRow(); }

    void theVersionIsAnOptionalSignAndDigitsOnly_data()
    {
        const auto row = rows([](const QByteArray &value, qint64 version) {
            QCOMPARE(ProjectFile::parse("config_version=" + value).configVersion, version);
        });
        row("5", "5", 5);
        row("plus", "+5", 5);
        row("minus", "-5", -5);
        row("leading zeros", "0005", 5);
        row("blanks after it", "5 \t ", 5);
        row("the largest", "9223372036854775807", std::numeric_limits<qint64>::max());
        row("the smallest", "-9223372036854775808", std::numeric_limits<qint64>::min());
        for (const char *value : { "9223372036854775808", "-9223372036854775809", "abc", "", "-", "+-5", " 5",
                                   "+ 5", "5 ; five", "5.0", "0x5", "\"5\"", "\u0665", "\uff15", "5,000" })
            row(("“" + QByteArray(value) + "” is not a version").constData(), value, 0);
    }
    void theVersionIsAnOptionalSignAndDigitsOnly() { runRow(); }

    void quotedTextsAreThoseBetweenPairsOfQuotes_data()
    {
        const auto row
            = rows([](const QByteArray &line, const QStringList &texts) { QCOMPARE(quoted(line), texts); });
        row("no quotes", "a=b", {});
        row("empty line", "", {});
        row("one", "a=\"b\"", { u"b"_s });
        row("two", "\"b\", \"c\"", { u"b"_s, u"c"_s });
        row("an empty one", "\"\"", { QString() });
        row("touching", "\"a\"\"b\"", { u"a"_s, u"b"_s });
        row("never closed", "\"b", {});
        row("the last never closed", "\"a\" \"b", { u"a"_s });
        row("a quote alone", "\"", {});
        row("escapes mean nothing", "\"a\\\"b\"", { u"a\\"_s });
    }
    void quotedTextsAreThoseBetweenPairsOfQuotes() { runRow(); }

    void quotedStopsAtTheMostThatIsAskedFor()
    {
        QCOMPARE(quoted("\"a\"\"b\"\"c\"", 2), (QStringList { u"a"_s, u"b"_s }));
        QCOMPARE(quoted("\"a\"", 0), QStringList());
    }
};

QTEST_GUILESS_MAIN(ProjectFileTest)
#include "ProjectFileTest.moc"
