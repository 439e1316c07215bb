#include "AppDelegate.h"

#include "AppModel.h"
#include "BringForward.h"
#include "Question.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QSessionManager>
#include <QTimer>
#include <QWidget>

#include <chrono>

namespace {

/// The program ends within a second of the player quitting, however long running work takes to stop.
constexpr std::chrono::milliseconds longestQuit { 900 };

}

AppDelegate::AppDelegate(std::function<void()> exit, QObject *parent)
    : QObject(parent)
    , m_exit(std::move(exit))
    , m_refresh(this, [this] { answerIfGameEnded(); })
{
    // The window disappears first; running work is stopped before the event loop exits.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, &AppDelegate::answerSession,
            Qt::DirectConnection);
}

void AppDelegate::attach(AppModel &model, QWidget &window)
{
    m_attached = &model;
    m_window = &window;
    window.installEventFilter(this);
    m_refresh.watch(model.runner);
}

bool AppDelegate::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show)
        m_model = m_attached;
    if (event->type() == QEvent::Close && !m_isQuitting) {
        event->ignore();
        requestQuit();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void AppDelegate::requestQuit()
{
    if (m_isQuitting || isAsking())
        return;
    if (m_model && m_model->runner.isRunning)
        ask();
    else
        quit();
}

void AppDelegate::quitAtOnce()
{
    if (m_isQuitting)
        return;
    delete m_question;
    if (m_model)
        m_model->stopForQuit();
    quit();
}

Question *AppDelegate::makeQuitQuestion()
{
    // Behind an open dialog the question could not be answered.
    QWidget *owner = QApplication::activeModalWidget();
    if (!owner)
        owner = m_window;
    return new Question({ .title = QStringLiteral("The game is still running"),
                          .message = QStringLiteral("Quitting will close the game too. Quit anyway?"),
                          .accepting = QStringLiteral("Quit"),
                          .rejecting = QStringLiteral("Keep Playing") },
                        Question::Default::Accept, owner);
}

bool AppDelegate::isAsking() const { return m_question && !m_question->isHidden(); }

void AppDelegate::ask()
{
    m_question = makeQuitQuestion();
    connect(m_question, &QDialog::accepted, this, [this] {
        m_model->stopForQuit();
        quit();
    });
    bringForward(*m_window);
    m_question->open();
}

void AppDelegate::answerIfGameEnded()
{
    if (isAsking() && !m_model->runner.isRunning)
        m_question->accept();
}

void AppDelegate::answerSession(QSessionManager &manager)
{
    if (m_isQuitting || !m_model || !m_model->runner.isRunning || !manager.allowsInteraction())
        return;
    // commitDataRequest() needs the answer before it returns, so this blocks.
    delete m_question;
    m_question = makeQuitQuestion();
    m_question->setAttribute(Qt::WA_DeleteOnClose, false);
    bringForward(*m_window);
    m_question->exec(); // gate: allowed, because the session waits inside this call
    const bool quits = m_question && m_question->result() == QDialog::Accepted;
    delete m_question;
    manager.release();
    if (m_isQuitting)
        return; // a termination signal arrived meanwhile
    if (!quits) {
        manager.cancel();
        return;
    }
    m_model->stopForQuit();
    quit();
}

void AppDelegate::quit()
{
    m_isQuitting = true;
    Q_EMIT quitting();
    if (m_window) {
        m_window->hide();
        const auto dialogs = m_window->findChildren<QDialog *>();
        for (QDialog *dialog : dialogs)
            dialog->hide();
    }
    if (!m_model) {
        exit();
        return;
    }
    QTimer::singleShot(longestQuit, this, &AppDelegate::exit);
    finishQuitting();
}

QCoro::Task<> AppDelegate::finishQuitting()
{
    const QPointer<AppDelegate> self(this);
    auto preparing = m_model->prepareToQuit();
    co_await preparing;
    if (self)
        exit();
}

void AppDelegate::exit()
{
    if (m_hasQuit)
        return;
    m_hasQuit = true;
    m_exit();
}
