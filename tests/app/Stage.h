#pragma once

#include "AboutView.h"
#include "FailsCleanly.h"
#include "MainWindow.h"
#include "Player.h"
#include "RefreshOnce.h"
#include "Samples.h"
#include "SettingsView.h"
#include "TextLabel.h"

#include <QAbstractButton>
#include <QApplication>

#include <algorithm>
#include <memory>
#include <stdexcept>

/// The texts of the buttons. A test presses them by these names.
namespace Button {

using namespace Qt::StringLiterals;

inline const QString play = u"Play"_s;
inline const QString cancel = u"Cancel"_s;
inline const QString stop = u"Stop"_s;
inline const QString copy = u"Copy"_s;
inline const QString showLog = u"Show log"_s;
inline const QString hideLog = u"Hide log"_s;
inline const QString settings = u"Settings\u2026"_s;
inline const QString about = u"About"_s;

inline const QString windowed = u"Windowed"_s;
inline const QString fullscreen = u"Fullscreen"_s;
inline const QString update = u"Update the game"_s;
inline const QString reinstall = u"Reinstall"_s;
inline const QString reveal = u"Reveal in Finder"_s;
inline const QString showSaves = u"Show saves"_s;
inline const QString removeEverything = u"Remove everything\u2026"_s;
inline const QString done = u"Done"_s;

inline const QString quit = u"Quit"_s;
inline const QString keepPlaying = u"Keep Playing"_s;

}

/// The launcher's window on a real model in a home folder of its own. What looks for a part of the window
/// throws an exception if there is none, which ends the test.
class Stage final {
public:
    static constexpr QSize narrow { 560, 640 };
    static constexpr QSize usual { 600, 720 };
    /// Shows everything without scrolling.
    static constexpr QSize tall { 600, 1000 };

    Stage()
        : model(player.startModel())
    {
    }

    explicit Stage(QSize size)
        : Stage()
    {
        open(size);
    }

    ~Stage()
    {
        window.reset();
        // A test may have assigned this without starting a game.
        if (!model.runner.controller())
            model.runner.isRunning = false;
    }

    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;

    /// Shows the window in `size` and waits until it is drawn.
    MainWindow &open(QSize size = usual)
    {
        window = std::make_unique<MainWindow>(model, player.preferences);
        window->resize(size);
        window->show();
        if (!QTest::qWaitForWindowExposed(window.get()))
            throw std::runtime_error("The window was not shown.");
        settle();
        return *window;
    }

    /// Opens a sheet with its button in the window; opens the window first if need be.
    Sheet *openSheet(const QString &button)
    {
        if (!window)
            open();
        click(*window, button);
        return visible<Sheet>();
    }
    Sheet *openSettings() { return openSheet(Button::settings); }
    Sheet *openAbout() { return openSheet(Button::about); }

    /// A code host that never comes to the end of the game.
    void startSlowHost() { player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") }); }

    /// These assign to the model and let the window show it.
    void show(const AppState &state)
    {
        model.state = state;
        settle();
    }
    void show(const std::optional<ProjectInfo> &info)
    {
        model.info = info;
        settle();
    }
    void fail(int lineCount, const QString &message = Samples::earlyEnd)
    {
        Samples::fail(model, message, lineCount);
        settle();
    }

    /// Lets the views show what was announced, and the layouts adapt to the views.
    static void settle()
    {
        // A view that redrew slowly pauses for as long; on a busy machine, longer than the turns below.
        const auto isSettled = [] {
            const auto windows = QApplication::topLevelWidgets();
            return std::none_of(windows.begin(), windows.end(), [](const QWidget *top) {
                const auto refreshes = top->findChildren<RefreshOnce *>();
                return std::any_of(refreshes.begin(), refreshes.end(),
                                   [](const RefreshOnce *refresh) { return refresh->isPending(); });
            });
        };
        // Gives up on a view that never settles, as under a flood of lines.
        (void)QTest::qWaitFor(isSettled, 1000);
        for (int turn = 0; turn < 5; ++turn) {
            QTest::qWait(1);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        }
    }

    /// What the player can use now: the topmost dialog, or else the window.
    QWidget *front() const
    {
        QWidget *dialog = QApplication::activeModalWidget();
        if (!dialog && !window)
            throw std::runtime_error("The window is not open.");
        return dialog ? dialog : window.get();
    }

    /// The button with this text that the player can see.
    QAbstractButton *button(const QString &text) const { return button(*front(), text); }
    static QAbstractButton *button(const QWidget &where, const QString &text)
    {
        QStringList others;
        for (QAbstractButton *button : seen<QAbstractButton>(where)) {
            if (button->text() == text)
                return button;
            others << u'"' + button->text() + u'"';
        }
        missing(QStringLiteral("button \"%1\"").arg(text), where, others);
    }
    bool hasButton(const QString &text) const { return hasButton(*front(), text); }
    static bool hasButton(const QWidget &where, const QString &text)
    {
        const auto buttons = seen<QAbstractButton>(where);
        return std::any_of(buttons.begin(), buttons.end(),
                           [&text](const QAbstractButton *button) { return button->text() == text; });
    }

    /// Clicks the middle of the button with this text.
    void click(const QString &text) const { click(*front(), text); }
    static void click(const QWidget &where, const QString &text)
    {
        QTest::mouseClick(button(where, text), Qt::LeftButton);
        settle();
    }

    /// Presses a key where the desktop would deliver it.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::keyClick(front()->windowHandle(), key, modifiers);
        settle();
    }

    /// Every text that the player can see, from top to bottom.
    static QList<TextLabel *> labels(const QWidget &where)
    {
        QList<TextLabel *> labels = seen<TextLabel>(where);
        labels.removeIf([](const TextLabel *label) { return label->text().isEmpty(); });
        return labels;
    }
    QStringList texts() const { return texts(*front()); }
    static QStringList texts(const QWidget &where)
    {
        QStringList result;
        for (const TextLabel *label : labels(where))
            result << label->text();
        return result;
    }
    static TextLabel *label(const QWidget &where, const QString &text)
    {
        for (TextLabel *label : labels(where)) {
            if (label->text() == text)
                return label;
        }
        missing(QStringLiteral("text \"%1\"").arg(text), where, texts(where));
    }

    /// The view of this class that the player can see.
    template <typename View> View *visible() const { return visible<View>(*window); }
    template <typename View> static View *visible(const QWidget &where)
    {
        const auto views = seen<View>(where);
        if (!views.isEmpty())
            return views.first();
        QStringList others;
        for (const QWidget *view : seen<QWidget>(where))
            others << nameOf(*view);
        others.removeDuplicates();
        missing(QLatin1StringView(View::staticMetaObject.className()), where, others);
    }
    template <typename View> bool shows() const { return !seen<View>(*window).isEmpty(); }

    /// Where `part` is in `whole`.
    static QRect placeIn(const QWidget &whole, const QWidget &part)
    {
        return { part.mapTo(&whole, QPoint(0, 0)), part.size() };
    }
    QRect place(const QWidget *part) const { return placeIn(*window, *part); }

    Player player;
    AppModel &model;
    std::unique_ptr<MainWindow> window;

private:
    template <typename View> static QList<View *> seen(const QWidget &where)
    {
        QList<View *> views = where.findChildren<View *>();
        views.removeIf([](const View *view) { return !view->isVisible(); });
        return views;
    }

    static QString nameOf(const QWidget &widget)
    {
        return QLatin1StringView(widget.metaObject()->className());
    }

    [[noreturn]] static void missing(const QString &what, const QWidget &where, const QStringList &others)
    {
        const QString instead
            = others.isEmpty() ? QStringLiteral("nothing of that kind") : others.join(u", ");
        throw std::runtime_error(QStringLiteral("The player sees no %1 in the %2, but: %3.")
                                     .arg(what, nameOf(where), instead)
                                     .toStdString());
    }
};
