#pragma once

#include "AboutView.h"
#include "MainWindow.h"
#include "Player.h"
#include "RefreshOnce.h"
#include "SettingsView.h"
#include "TextLabel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>

#include <algorithm>
#include <memory>

/// The launcher's window on a real model in a home folder of its own. A test that wants to see a state at
/// once assigns the model's published fields.
class Stage final {
public:
    Stage()
        : model(player.startModel())
    {
    }

    ~Stage()
    {
        window.reset();
        // A test may have assigned this without starting a game.
        if (!model.runner.controller())
            model.runner.isRunning = false;
    }

    /// Shows the window in `size` and waits until it is drawn.
    MainWindow &open(QSize size = QSize(600, 720))
    {
        window = std::make_unique<MainWindow>(model, player.preferences);
        window->resize(size);
        window->show();
        if (!QTest::qWaitForWindowExposed(window.get()))
            qFatal("The window was not shown.");
        settle();
        return *window;
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

    /// The button with this text that the player can see in `where`, or null.
    static QAbstractButton *button(const QWidget &where, const QString &text)
    {
        const auto buttons = where.findChildren<QAbstractButton *>();
        for (QAbstractButton *button : buttons) {
            if (button->text() == text && button->isVisible())
                return button;
        }
        return nullptr;
    }

    /// Clicks the middle of the button with this text; aborts the test program when there is none.
    static void click(const QWidget &where, const QString &text)
    {
        QAbstractButton *target = button(where, text);
        if (!target)
            qFatal("There is no button \"%s\".", qPrintable(text));
        QTest::mouseClick(target, Qt::LeftButton);
        settle();
    }

    /// Every text that the player can see in `where`, from top to bottom.
    static QStringList texts(const QWidget &where)
    {
        QStringList result;
        const auto labels = where.findChildren<TextLabel *>();
        for (const TextLabel *label : labels) {
            if (label->isVisible() && !label->text().isEmpty())
                result << label->text();
        }
        return result;
    }

    /// Opens a sheet with its button in the window; opens the window first if need be.
    SettingsView *openSettings()
    {
        if (!window)
            open();
        click(*window, QStringLiteral("Settings\u2026"));
        return visible<SettingsView>();
    }
    AboutView *openAbout()
    {
        if (!window)
            open();
        click(*window, QStringLiteral("About"));
        return visible<AboutView>();
    }

    /// The view of this class that the player can see in the window, or null.
    template <typename View> View *visible() const
    {
        const auto views = window->findChildren<View *>();
        for (View *view : views) {
            if (view->isVisible())
                return view;
        }
        return nullptr;
    }

    Player player;
    AppModel &model;
    std::unique_ptr<MainWindow> window;
};
