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

    void startGame(const QString &script)
    {
        stage.model.runner.launch(QStringLiteral("/bin/sh"), { QStringLiteral("-c"), script },
                                  stage.model.log, [](GameExit) {});
        if (!QTest::qWaitFor([this] { return stage.model.log.lines->contains(QStringLiteral("playing")); }))
            qFatal("The game did not start.");
    }

    void close() const
    {
        stage.window->close();
        Stage::settle();
    }

    QMessageBox *question() const { return stage.visible<QMessageBox>(); }

    Stage stage;
    int ended = 0;
    AppDelegate delegate { [this] { ++ended; } };

    /// A game that runs until it is stopped.
    static inline const QString game = QStringLiteral("echo playing; exec sleep 60");
};
