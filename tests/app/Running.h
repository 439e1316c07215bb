#pragma once

#include "AppDelegate.h"
#include "Stage.h"

#include <QMessageBox>

/// A window that is always quit through the delegate.
class Running final {
public:
    Running()
    {
        delegate.attach(stage.model, stage.open());
        stage.window->hide();
        stage.window->show();
        Stage::settle();
    }

    /// With a game that runs `script` and has printed "playing".
    explicit Running(const QString &script)
        : Running()
    {
        launch(script);
        if (!QTest::qWaitFor([this] { return stage.model.log.lines->contains(QStringLiteral("playing")); }))
            throw std::runtime_error("The game did not start.");
    }

    void launch(const QString &script)
    {
        stage.model.runner.launch(QStringLiteral("/bin/sh"), { QStringLiteral("-c"), script },
                                  stage.model.log, [](GameExit) {});
    }

    void close() const
    {
        stage.window->close();
        Stage::settle();
    }

    bool asks() const { return stage.shows<QMessageBox>(); }
    QMessageBox *question() const { return stage.visible<QMessageBox>(); }
    bool gameRuns() const { return stage.model.runner.isRunning; }

    Stage stage;
    int ended = 0;
    AppDelegate delegate { [this] { ++ended; } };

    /// A game that runs until it is stopped, and one that ignores the request to end.
    static inline const QString game = QStringLiteral("echo playing; exec sleep 60");
    static inline const QString stubbornGame = QStringLiteral("trap '' TERM; echo playing; sleep 3");
};
