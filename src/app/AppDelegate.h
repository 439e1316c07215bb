#pragma once

#include "RefreshOnce.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QPointer>

#include <functional>

class AppModel;
class QSessionManager;
class QWidget;
class Question;

/// Quits the program when its window is closed, and asks first while the game is running. Every way to quit
/// comes through here: the window's close button, the shortcuts, the desktop's own Quit and the end of the
/// session. If the game ends while the question is open, the program quits: there is nothing left to ask.
///
/// It has no model until the window is first shown; until then it quits at once. Main thread. The model and
/// the window outlive it.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    /// `exit` must exit the event loop. It is called at most once.
    explicit AppDelegate(std::function<void()> exit, QObject *parent = nullptr);

    /// Called once, before `window` is shown.
    void attach(AppModel &model, QWidget &window);

    /// Quits the program, but asks the player first if the game is running. Does nothing while the question
    /// is open.
    void requestQuit();

    /// Stops the game and quits without asking: nobody may be there to answer.
    void quitAtOnce();

Q_SIGNALS:
    /// Quitting has begun; whatever is still running is about to be stopped.
    void quitting();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Question *makeQuitQuestion();
    bool isAsking() const;
    void ask();
    void answerIfGameEnded();
    void answerSession(QSessionManager &manager);
    void quit();
    QCoro::Task<> finishQuitting();
    void exit();

    const std::function<void()> m_exit;
    AppModel *m_attached = nullptr;
    /// Null until the window is first shown.
    AppModel *m_model = nullptr;
    QPointer<QWidget> m_window;
    QPointer<Question> m_question;
    RefreshOnce m_refresh;
    bool m_isQuitting = false;
    bool m_hasQuit = false;
};
