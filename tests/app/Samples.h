#pragma once

#include "AppModel.h"

#include <QList>
#include <QString>

#include <functional>

using namespace Qt::StringLiterals; // all tests of the window write their texts like this

/// Everything that the window can show, in one list for the tests and the pictures.
namespace Samples {

inline ProjectInfo game()
{
    ProjectInfo info;
    info.name = u"Hill Run"_s;
    info.blurb = u"Run, jump and roll over the green hills, and be home before the rain."_s;
    info.licenseName = u"MIT License"_s;
    info.author = u"Ada Hill"_s;
    info.controls = { u"Left / A: walk left"_s, u"Right / D: walk right"_s, u"Space: jump"_s };
    return info;
}

inline ProjectInfo wordyGame()
{
    ProjectInfo info = game();
    info.blurb
        = u"A small platformer about a courier who has to cross nine valleys in one day. Every valley has "
          "a rule of its own: in the first one the ground remembers where you have been, in the second "
          "the wind carries whatever you let go of, and in the last you are only as fast as the slowest "
          "of the friends you made on the way."_s;
    info.licenseName = u"GNU Affero General Public License, version 3 or any later version"_s;
    info.controls.clear();
    for (int number = 1; number <= 8; ++number)
        info.controls << u"Key %1 or gamepad button %1: the move number %1 of eight"_s.arg(number);
    return info;
}

inline QStringList lines(int count)
{
    QStringList result;
    for (int number = 1; number <= count; ++number)
        result << u"%1  Loading resource: res://levels/level_%2.tscn"_s.arg(number, 4).arg(number % 12);
    return result;
}

inline QStringList oddLines()
{
    QString endless(100000, u'x');
    endless.replace(5000, 1, u' ');
    return { u"\u001b[90mgrey\u001b[0m and \u001b[1;31mred\u001b[0m"_s,
             u"bell \a, tab\tand a carriage\rreturn"_s,
             u"right to left: \u202egnp.exe\u202c \u2067abc\u2069"_s,
             u"\u05e9\u05dc\u05d5\u05dd \u05e2\u05d5\u05dc\u05dd"_s,
             u"line\u2028and paragraph\u2029separators, \ufdd0frame\ufdd1 \ufffcobject"_s,
             u"<b>not bold</b> &amp; <img src='x'>"_s,
             QChar(0xd83d) + u" half a character"_s,
             u"a line feed\ninside"_s,
             QString(),
             endless };
}

inline void fail(AppModel &model, const QString &message, int lineCount)
{
    model.failureMessage = message;
    model.failureLines = lines(lineCount);
    model.state = AppState::needs(message);
}

inline const QString earlyEnd
    = u"The game closed after only 2 seconds (exit code 1), so it did not start properly. These are the last "
      "lines of its log:"_s;

inline const QString noSaves
    = u"No save files yet. Godot creates them when the game first saves something."_s;

struct Scene {
    QString name;
    std::function<void(AppModel &)> set;
};

/// The states and contents of the window, except for its sheets.
inline QList<Scene> scenes()
{
    QList<Scene> all;
    const auto add = [&all](const QString &name, const std::function<void(AppModel &)> &set) {
        all.append({ name, set });
    };
    const auto addWithGame = [add](const QString &name, const std::function<void(AppModel &)> &set) {
        add(name, [set](AppModel &model) {
            model.info = game();
            model.state = AppState::ready();
            set(model);
        });
    };
    add(u"not-downloaded"_s, [](AppModel &model) { model.state = AppState::notDownloaded(); });
    add(u"downloading-unknown"_s, [](AppModel &model) {
        model.state = AppState::downloading(u"the game"_s);
        model.stepText = u"Step 1 of 4: downloading the game"_s;
        model.progressDetail = u"3.2 MB \u00b7 1.5 MB/s"_s;
    });
    addWithGame(u"downloading"_s, [](AppModel &model) {
        model.state = AppState::downloading(u"Godot 4.6"_s);
        model.stepText = u"Step 2 of 4: downloading Godot 4.6"_s;
        model.progress = 0.42;
        model.progressDetail = u"20.2 MB of 48.1 MB \u00b7 1.5 MB/s"_s;
    });
    addWithGame(u"setting-up"_s, [](AppModel &model) {
        model.state = AppState::settingUp();
        model.stepText = u"Step 3 of 4: first-time setup, this can take a minute or more"_s;
    });
    addWithGame(u"ready"_s, [](AppModel &) {});
    addWithGame(u"ready-wordy"_s, [](AppModel &model) {
        model.info = wordyGame();
        model.notice = noSaves;
    });
    addWithGame(u"starting"_s, [](AppModel &model) { model.state = AppState::starting(); });
    addWithGame(u"playing"_s, [](AppModel &model) {
        model.runner.isRunning = true;
        model.state = AppState::playing();
    });
    add(u"needs-something"_s,
        [](AppModel &model) { model.state = AppState::needs(u"The code host could not be reached."_s); });
    add(u"failure-short"_s,
        [](AppModel &model) { fail(model, u"The Internet connection appears to be offline."_s, 0); });
    addWithGame(u"failure-long"_s, [](AppModel &model) { fail(model, earlyEnd, 30); });
    addWithGame(u"failure-log"_s, [](AppModel &model) {
        fail(model, earlyEnd, 30);
        model.log.lines = lines(200);
        model.showLog = true;
    });
    addWithGame(u"notice"_s, [](AppModel &model) { model.notice = noSaves; });
    addWithGame(u"log-empty"_s, [](AppModel &model) { model.showLog = true; });
    addWithGame(u"log-full"_s, [](AppModel &model) {
        model.log.lines = lines(3000);
        model.showLog = true;
    });
    addWithGame(u"log-odd"_s, [](AppModel &model) {
        model.log.lines = oddLines().mid(0, 9);
        model.showLog = true;
    });
    add(u"everything"_s, [](AppModel &model) {
        model.info = wordyGame();
        fail(model, earlyEnd, 30);
        model.notice = u"Nothing is downloaded yet."_s;
        model.log.lines = lines(200);
        model.showLog = true;
    });
    return all;
}

}
