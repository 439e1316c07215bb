#pragma once

#include "AppDelegate.h"
#include "Question.h"
#include "Stage.h"

/// A window that is always quit through the delegate.
class Running : public Stage {
public:
    Running()
    {
        delegate.attach(model, window());
        window().hide();
        window().show();
        // Off-screen, Qt does not notice that the same window is active again.
        QApplication::setActiveWindow(&window());
        settle();
    }

    /// A game that runs until it is stopped, and one that ignores the request to end.
    static inline const QString game = u"echo playing; exec sleep 60"_s;
    static inline const QString stubbornGame = u"trap '' TERM; echo playing; sleep 3"_s;

    /// Starts a game that runs `script`, and waits until it has printed "playing".
    void play(const QString &script = game)
    {
        launch(script);
        if (!QTest::qWaitFor([this] { return model.log.lines->contains(u"playing"_s); }))
            throw std::runtime_error("The game did not start.");
    }
    void launch(const QString &script)
    {
        model.runner.launch(u"/bin/sh"_s, { u"-c"_s, script }, model.log, [](GameExit) {});
    }

    void close()
    {
        window().close();
        settle();
    }

    bool asks() { return shows<Question>(); }
    Question *question() { return visible<Question>(); }
    bool gameRuns() const { return model.runner.isRunning; }

    int ended = 0;
    AppDelegate delegate { [this] { ++ended; } };
};
