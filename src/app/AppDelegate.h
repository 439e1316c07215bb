#pragma once

#include "RefreshOnce.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QPointer>

#include <functional>

class AppModel;
class QMessageBox;
class QPushButton;
class QSessionManager;
class QWidget;

/// Ends the program when its window is closed, and asks before that while the game runs. Every way out comes
/// through here: the window's close button, the shortcuts, the desktop's own quit and the end of the session.
/// A game that ends while the question is shown answers it: there is nothing left to ask.
///
/// It has no model until the window is first shown; until then it lets the program end at once. Main thread.
/// The model and the window outlive it.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    /// `end` ends the program's event loop.
    explicit AppDelegate(std::function<void()> end, QObject *parent = nullptr);

    /// The model's window, once, before it is shown.
    void attach(AppModel &model, QWidget &window);

    /// Asks whatever must be asked and ends the program, or not. Asking again while the question is shown
    /// changes nothing.
    void requestQuit();

    /// Ends the program without a question, and the game with it: nobody is there to answer.
    void quitAtOnce();

Q_SIGNALS:
    /// The program ends now; what still runs is asked to unwind.
    void leaving();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QMessageBox *makeQuitQuestion();
    void ask();
    void answerIfGameEnded();
    void answerSession(QSessionManager &manager);
    void leave();
    QCoro::Task<> windDown();
    void end();

    const std::function<void()> m_end;
    AppModel *m_attached = nullptr;
    /// Absent until the window is first shown.
    AppModel *m_model = nullptr;
    QPointer<QWidget> m_window;
    QPointer<QMessageBox> m_question;
    QPushButton *m_quitAnswer = nullptr;
    RefreshOnce m_refresh;
    bool m_isLeaving = false;
    bool m_hasEnded = false;
};
