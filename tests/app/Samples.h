#pragma once

#include "AppModel.h"

#include <QList>
#include <QString>

#include <functional>

/// Everything that the window can show, in one list for the tests and the pictures.
namespace Samples {

inline ProjectInfo game()
{
    ProjectInfo info;
    info.name = QStringLiteral("Hill Run");
    info.blurb = QStringLiteral("Run, jump and roll over the green hills, and be home before the rain.");
    info.licenseName = QStringLiteral("MIT License");
    info.author = QStringLiteral("Ada Hill");
    info.controls = { QStringLiteral("Left / A: walk left"), QStringLiteral("Right / D: walk right"),
                      QStringLiteral("Space: jump") };
    return info;
}

inline ProjectInfo wordyGame()
{
    ProjectInfo info = game();
    info.blurb = QStringLiteral(
        "A small platformer about a courier who has to cross nine valleys in one day. Every valley has a "
        "rule of its "
        "own: in the first one the ground remembers where you have been, in the second the wind carries "
        "whatever you "
        "let go of, and in the last you are only as fast as the slowest of the friends you made on the way.");
    info.licenseName = QStringLiteral("GNU Affero General Public License, version 3 or any later version");
    info.controls.clear();
    for (int number = 1; number <= 8; ++number)
        info.controls
            << QStringLiteral("Key %1 or gamepad button %1: the move number %1 of eight").arg(number);
    return info;
}

inline QStringList lines(int count)
{
    QStringList result;
    for (int number = 1; number <= count; ++number)
        result << QStringLiteral("%1  Loading resource: res://levels/level_%2.tscn")
                      .arg(number, 4)
                      .arg(number % 12);
    return result;
}

inline QStringList oddLines()
{
    QString endless(100000, QLatin1Char('x'));
    endless.replace(5000, 1, QLatin1Char(' '));
    return { QStringLiteral("\u001b[90mgrey\u001b[0m and \u001b[1;31mred\u001b[0m"),
             QStringLiteral("bell \a, tab\tand a carriage\rreturn"),
             QStringLiteral("right to left: \u202egnp.exe\u202c \u2067abc\u2069"),
             QStringLiteral("\u05e9\u05dc\u05d5\u05dd \u05e2\u05d5\u05dc\u05dd"),
             QStringLiteral("line\u2028and paragraph\u2029separators, \ufdd0frame\ufdd1 \ufffcobject"),
             QStringLiteral("<b>not bold</b> &amp; <img src='x'>"),
             QString(QChar(0xd83d)) + QStringLiteral(" half a character"),
             QStringLiteral("a line feed\ninside"),
             QString(),
             endless };
}

struct Scene {
    QString name;
    std::function<void(AppModel &)> set;
};

inline void fail(AppModel &model, const QString &message, int lineCount)
{
    model.failureMessage = message;
    model.failureLines = lines(lineCount);
    model.state = AppState::needs(message);
}

inline const QString earlyEnd
    = QStringLiteral("The game closed after only 2 seconds (exit code 1), so it did not start properly. "
                     "These are the last lines of its log:");

/// The states and contents of the window, except for its sheets.
inline QList<Scene> scenes()
{
    const auto withGame = [](AppModel &model) {
        model.info = game();
        model.state = AppState::ready();
    };
    return {
        { QStringLiteral("not-downloaded"),
          [](AppModel &model) { model.state = AppState::notDownloaded(); } },
        { QStringLiteral("downloading-unknown"),
          [](AppModel &model) {
              model.state = AppState::downloading(QStringLiteral("the game"));
              model.stepText = QStringLiteral("Step 1 of 4: downloading the game");
              model.progressDetail = QStringLiteral("3.2 MB \u00b7 1.5 MB/s");
          } },
        { QStringLiteral("downloading"),
          [](AppModel &model) {
              model.info = game();
              model.state = AppState::downloading(QStringLiteral("Godot 4.6"));
              model.stepText = QStringLiteral("Step 2 of 4: downloading Godot 4.6");
              model.progress = 0.42;
              model.progressDetail = QStringLiteral("20.2 MB of 48.1 MB \u00b7 1.5 MB/s");
          } },
        { QStringLiteral("setting-up"),
          [](AppModel &model) {
              model.info = game();
              model.state = AppState::settingUp();
              model.stepText
                  = QStringLiteral("Step 3 of 4: first-time setup, this can take a minute or more");
          } },
        { QStringLiteral("ready"), withGame },
        { QStringLiteral("ready-wordy"),
          [](AppModel &model) {
              model.info = wordyGame();
              model.state = AppState::ready();
              model.notice = QStringLiteral(
                  "No save files yet. Godot creates them when the game first saves something.");
          } },
        { QStringLiteral("starting"),
          [](AppModel &model) {
              model.info = game();
              model.state = AppState::starting();
          } },
        { QStringLiteral("playing"),
          [](AppModel &model) {
              model.info = game();
              model.runner.isRunning = true;
              model.state = AppState::playing();
          } },
        { QStringLiteral("needs-something"),
          [](AppModel &model) {
              model.state = AppState::needs(QStringLiteral("The code host could not be reached."));
          } },
        { QStringLiteral("failure-short"),
          [](AppModel &model) {
              fail(model, QStringLiteral("The Internet connection appears to be offline."), 0);
          } },
        { QStringLiteral("failure-long"),
          [](AppModel &model) {
              model.info = game();
              fail(model, earlyEnd, 30);
          } },
        { QStringLiteral("log-empty"),
          [withGame](AppModel &model) {
              withGame(model);
              model.showLog = true;
          } },
        { QStringLiteral("log-full"),
          [withGame](AppModel &model) {
              withGame(model);
              model.log.lines = lines(3000);
              model.showLog = true;
          } },
        { QStringLiteral("log-odd"),
          [withGame](AppModel &model) {
              withGame(model);
              model.log.lines = oddLines().mid(0, 9);
              model.showLog = true;
          } },
        { QStringLiteral("everything"),
          [](AppModel &model) {
              model.info = wordyGame();
              fail(model, earlyEnd, 30);
              model.notice = QStringLiteral("Nothing is downloaded yet.");
              model.log.lines = lines(200);
              model.showLog = true;
          } },
    };
}

}
