#include "MouseAsTouch.h"

#include "FileError.h"
#include "GameFolder.h"
#include "ProjectInspector.h"
#include "Rows.h"

#include <cerrno>

using namespace Qt::StringLiterals;
using ProjectInspector::enableMouseAsTouch;

namespace {

const QString enabled
    = u"Enabled mouse clicks as touch in the downloaded copy so the game's buttons work on a Mac."_s;
const QByteArray setting = "\n\npointing/emulate_touch_from_mouse=true";
const QByteArray section = "\n[input_devices]" + setting + "\n";

}

class MouseAsTouchTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theEditIsExact_data()
    {
        const auto row = rows([](const QByteArray &before, const QByteArray &after) {
            QCOMPARE(withMouseAsTouch(before), after);
            QCOMPARE(withMouseAsTouch(after), std::nullopt);
        });
        row("right after the section's header", "[input_devices]\npointing/other=true\n",
            "[input_devices]\n\npointing/emulate_touch_from_mouse=true\npointing/other=true\n");
        row("no section, no final line break", "config_version=4",
            "config_version=4\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
        row("no section, a final line break", "config_version=4\n", "config_version=4\n" + section);
        row("no section, several final line breaks", "a\n\n", "a\n\n" + section);
        row("an empty text", "", "\n" + section);
        row("line breaks of another system", "a\r\n", "a\r\n" + section);
        row("a carriage return alone is no line break", "a\r", "a\r\n" + section);
        row("the section at the very end", "a\n[input_devices]", "a\n[input_devices]" + setting);
        row("the section with line breaks of another system", "[input_devices]\r\n\r\nx=1\r\n",
            "[input_devices]" + setting + "\r\n\r\nx=1\r\n");
        row("the first of two sections", "[input_devices]\nb\n[input_devices]\n",
            "[input_devices]" + setting + "\nb\n[input_devices]\n");
        row("a mention in a comment", "; see [input_devices] below\n",
            "; see [input_devices]" + setting + " below\n");
        row("another letter case is another section", "[Input_Devices]\n", "[Input_Devices]\n" + section);
        row("a similar section", "[input_devices_2]\n", "[input_devices_2]\n" + section);
        row("the name of the setting in another letter case", "Emulate_Touch_From_Mouse\n",
            "Emulate_Touch_From_Mouse\n" + section);
    }
    void theEditIsExact() { runRow(); }

    void aTextThatNamesTheSettingIsLeftAlone()
    {
        for (const char *text :
             { "pointing/emulate_touch_from_mouse=true", "pointing/emulate_touch_from_mouse=false",
               "; no emulate_touch_from_mouse here", "xemulate_touch_from_mousex",
               "[input_devices]\npointing/emulate_touch_from_mouse=false\n" })
            QVERIFY2(!withMouseAsTouch(text), text);
    }

    void theFileIsEditedOnceAndTheLogSaysSo_data()
    {
        const auto row = rows([](const QByteArray &before, const QByteArray &after) {
            const GameFolder game { { "project.godot", before } };
            game.setMode("project.godot", 0640);
            QCOMPARE(enableMouseAsTouch(game.path()), enabled);
            QCOMPARE(game.content("project.godot"), after);
            QCOMPARE(enableMouseAsTouch(game.path()), std::nullopt);
            QCOMPARE(game.content("project.godot"), after);
            QCOMPARE(game.listed(), QStringList(u"project.godot"_s));
            QCOMPARE(game.mode("project.godot"), mode_t { 0640 });
        });
        const QByteArray mark = "\xef\xbb\xbf[input_devices]";
        const QByteArray anyBytes = QByteArrayLiteral(
            "a\0b\r\r\n\t\xc3\xbc\xf0\x9f\x8e\xae\xe2\x80\xa8\xef\xbf\xbd\xef\xbb\xbf[input_devices]");
        row("no section", "config_version=4", "config_version=4\n" + section);
        row("a byte order mark stays", mark + "\n", mark + setting + "\n");
        row("all other bytes stay", anyBytes + "\r\n\x01\x7f", anyBytes + setting + "\r\n\x01\x7f");
    }
    void theFileIsEditedOnceAndTheLogSaysSo() { runRow(); }

    void aFileThatDecidesTheSettingOrIsNotUtf8IsLeftAloneWithoutAWord()
    {
        for (const QByteArray text :
             { "[input_devices]\npointing/emulate_touch_from_mouse=false\n", "config/name=\"\xff\"\n" }) {
            const GameFolder game { { "project.godot", text } };
            QCOMPARE(enableMouseAsTouch(game.path()), std::nullopt);
            QCOMPARE(game.content("project.godot"), text);
        }
    }

    void whatIsNoFileIsLeftAloneWithoutAWord()
    {
        const GameFolder game { { "folder/project.godot/x", "" } };
        QCOMPARE(enableMouseAsTouch(game.path()), std::nullopt);
        QVERIFY(!QFile::exists(game.path("project.godot")));
        QCOMPARE(enableMouseAsTouch(game.path("folder")), std::nullopt);
        game.makePipe("project.godot");
        QCOMPARE(enableMouseAsTouch(game.path()), std::nullopt);
    }

    void theReasonIsLoggedForAReadOnlyFile()
    {
        const QByteArray text = "config_version=4\n";
        const GameFolder game { { "project.godot", text } };
        const QString file = game.path("project.godot");
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        QCOMPARE(enableMouseAsTouch(game.path()),
                 u"Could not enable mouse-as-touch: "_s
                     + FileError(file, u"written"_s, EACCES).errorDescription());
        QCOMPARE(game.content("project.godot"), text);
    }

    void aLinkIsReplacedAndItsTargetIsNotTouched()
    {
        const GameFolder home { { "outside", "config_version=4\n" } };
        home.link("game/project.godot", home.path("outside"));
        QCOMPARE(enableMouseAsTouch(home.path("game")), enabled);
        QCOMPARE(home.content("outside"), QByteArray("config_version=4\n"));
        QVERIFY(home.content("game/project.godot").contains(setting));
    }
};

QTEST_GUILESS_MAIN(MouseAsTouchTest)
#include "MouseAsTouchTest.moc"
