#pragma once

#include "AboutView.h"
#include "FreshForEach.h"
#include "LauncherStyle.h"
#include "MainWindow.h"
#include "Player.h"
#include "RefreshOnce.h"
#include "Samples.h"
#include "SettingsView.h"
#include "TextLabel.h"

#include <QAbstractButton>
#include <QApplication>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>

/// The texts of the buttons. A test presses them by these names.
namespace Button {

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

/// Stands below Play where it has to download something first.
inline const QString playHint
    = u"Downloads the game and the Godot engine once, about 60 MB. Nothing to type."_s;

/// Tells whether a click in the middle of a button reaches it: a wide check box ignores one beside its text.
struct Clickable : QAbstractButton {
    static bool isHit(const QAbstractButton &button)
    {
        return (button.*(&Clickable::hitButton))(button.rect().center());
    }
};

/// The launcher's window on a real model in a home folder of its own. The window opens when it is first
/// needed. What looks for a part of it throws an exception if there is none, which ends the test.
class Stage {
public:
    static constexpr QSize narrow { 560, 640 };
    static constexpr QSize usual { 600, 720 };
    /// Shows everything without scrolling.
    static constexpr QSize tall { 600, 1000 };

    Stage()
        : model(player.startModel())
    {
        if (!qobject_cast<LauncherStyle *>(QApplication::style()))
            QApplication::setStyle(new LauncherStyle({ .motion = Appearance::Motion::Reduced }));
    }

    ~Stage()
    {
        m_window.reset();
        // A test may have assigned this without starting a game.
        if (!model.runner.controller())
            model.runner.isRunning = false;
    }

    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;

    /// Shows a new window in `size` and waits until it is drawn.
    MainWindow &open(QSize size = usual)
    {
        m_window = std::make_unique<MainWindow>(model, player.preferences);
        m_window->resize(size);
        m_window->show();
        if (!QTest::qWaitForWindowExposed(m_window.get()))
            throw std::runtime_error("The window was not shown.");
        settle();
        return *m_window;
    }
    MainWindow &window() { return m_window ? *m_window : open(); }
    void destroyWindow() { m_window.reset(); }

    /// Opens a sheet with its button in the window.
    Sheet *openSheet(const QString &name)
    {
        click(name);
        return visible<Sheet>();
    }
    Sheet *openSettings() { return openSheet(Button::settings); }
    Sheet *openAbout() { return openSheet(Button::about); }

    /// A code host that never comes to the end of the game.
    void startSlowHost() { player.startHost({ u"--slow"_s, u"1"_s }); }

    /// These change the model while the window is open, and wait until it shows the change.
    template <typename Value, typename NewValue> void set(Published<Value> &field, const NewValue &value)
    {
        window();
        field = value;
        settle();
    }
    void show(const AppState &state) { set(model.state, state); }
    void fail(int lineCount, const QString &message = Samples::earlyEnd)
    {
        window();
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

    /// What the player can use now: the dialog or the sheet on top, or else the window.
    QWidget *front()
    {
        if (QWidget *dialog = QApplication::activeModalWidget())
            return dialog;
        QWidget *sheet = Sheet::topOf(window());
        return sheet ? sheet : &window();
    }

    /// The button with this text that the player can use now.
    QAbstractButton *button(const QString &text) { return withText<QAbstractButton>(*front(), text); }
    bool hasButton(const QString &text)
    {
        const auto buttons = seen<QAbstractButton>(*front());
        return std::any_of(buttons.begin(), buttons.end(),
                           [&text](const QAbstractButton *button) { return button->text() == text; });
    }

    /// Clicks the middle of the button with this text, which must be a part that can be clicked.
    void click(const QString &text)
    {
        QAbstractButton *clicked = button(text);
        if (!Clickable::isHit(*clicked))
            throw std::runtime_error("A click in the middle of \"" + text.toStdString() + "\" misses it.");
        QTest::mouseClick(clicked, Qt::LeftButton);
        settle();
    }

    /// Presses a key where the desktop would deliver it.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(front()->window()->windowHandle(), key, modifiers);
        settle();
    }

    /// The same for a list of what a player may do.
    std::function<void()> clicking(const QString &text)
    {
        return [this, text] { click(text); };
    }
    std::function<void()> pressing(Qt::Key key)
    {
        return [this, key] { press(key); };
    }

    /// Every text that the player can see, from top to bottom.
    static QList<TextLabel *> labels(const QWidget &where)
    {
        QList<TextLabel *> labels = seen<TextLabel>(where);
        labels.removeIf([](const TextLabel *label) { return label->text().isEmpty(); });
        return labels;
    }
    QStringList texts() { return texts(*front()); }
    static QStringList texts(const QWidget &where)
    {
        QStringList result;
        for (const TextLabel *label : labels(where))
            result << label->text();
        return result;
    }
    TextLabel *label(const QString &text) { return withText<TextLabel>(*front(), text); }

    /// The view of this class that the player can see.
    template <typename View> View *visible() { return visible<View>(window()); }
    template <typename View> static View *visible(const QWidget &where)
    {
        const auto views = seen<View>(where);
        if (!views.isEmpty())
            return views.first();
        QStringList others;
        for (const QWidget *view : seen<QWidget>(where))
            others << classOf(*view);
        others.removeDuplicates();
        missing(QLatin1StringView(View::staticMetaObject.className()), where, others);
    }
    template <typename View> bool shows() { return !seen<View>(window()).isEmpty(); }

    /// Where `part` is in `whole`.
    static QRect placeIn(const QWidget &whole, const QWidget &part)
    {
        return { part.mapTo(&whole, QPoint(0, 0)), part.size() };
    }
    QRect place(const QWidget *part) { return placeIn(window(), *part); }
    bool isInView(const QWidget *part) { return window().rect().contains(place(part)); }

    Player player;
    AppModel &model;

private:
    template <typename View> static QList<View *> seen(const QWidget &where)
    {
        QList<View *> views = where.findChildren<View *>();
        views.removeIf([](const View *view) { return !view->isVisible(); });
        return views;
    }

    template <typename View> static View *withText(const QWidget &where, const QString &text)
    {
        QStringList others;
        for (View *view : seen<View>(where)) {
            if (view->text() == text)
                return view;
            others << u'"' + view->text() + u'"';
        }
        missing(u'"' + text + u'"', where, others);
    }

    static QString classOf(const QWidget &widget)
    {
        return QLatin1StringView(widget.metaObject()->className());
    }

    [[noreturn]] static void missing(const QString &what, const QWidget &where, const QStringList &others)
    {
        const QString instead = others.isEmpty() ? u"nothing of that kind"_s : others.join(u", ");
        throw std::runtime_error(
            u"The player sees no %1 in the %2, but: %3."_s.arg(what, classOf(where), instead).toStdString());
    }

    std::unique_ptr<MainWindow> m_window;
};
