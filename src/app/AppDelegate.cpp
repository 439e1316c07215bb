#include "AppDelegate.h"

#include "AppModel.h"
#include "BringForward.h"
#include "Question.h"
#include "TextButton.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QSessionManager>
#include <QTimer>
#include <QWidget>

#include <chrono>

namespace {

/// The program ends within a second of the player quitting, however long running work takes to stop.
constexpr std::chrono::milliseconds longestFarewell { 900 };

}

AppDelegate::AppDelegate(std::function<void()> end, QObject *parent)
    : QObject(parent)
    , m_end(std::move(end))
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
    if (event->type() == QEvent::Close && !m_isLeaving) {
        event->ignore();
        requestQuit();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void AppDelegate::requestQuit()
{
    const bool isAsking = m_question && m_question->isVisible();
    if (m_isLeaving || isAsking)
        return;
    if (m_model && m_model->runner.isRunning)
        ask();
    else
        leave();
}

void AppDelegate::quitAtOnce()
{
    if (m_isLeaving)
        return;
    delete m_question;
    if (m_model)
        m_model->stopForQuit();
    leave();
}

QMessageBox *AppDelegate::makeQuitQuestion()
{
    // Behind an open sheet the question could not be answered.
    QWidget *owner = QApplication::activeModalWidget();
    if (!owner)
        owner = m_window;
    QMessageBox *question = makeQuestion(owner, QStringLiteral("The game is still running"),
                                         QStringLiteral("Quitting will close the game too. Quit anyway?"));
    m_quitAnswer = new TextButton(QStringLiteral("Quit"));
    auto *keep = new TextButton(QStringLiteral("Keep Playing"));
    question->addButton(m_quitAnswer, QMessageBox::AcceptRole);
    question->addButton(keep, QMessageBox::RejectRole);
    question->setDefaultButton(m_quitAnswer);
    question->setEscapeButton(keep);
    return question;
}

void AppDelegate::ask()
{
    m_question = makeQuitQuestion();
    connect(m_quitAnswer, &QPushButton::clicked, this, [this] {
        m_model->stopForQuit();
        leave();
    });
    bringForward(*m_window);
    m_question->open();
}

void AppDelegate::answerIfGameEnded()
{
    if (m_question && m_question->isVisible() && !m_model->runner.isRunning)
        m_quitAnswer->click();
}

void AppDelegate::answerSession(QSessionManager &manager)
{
    if (m_isLeaving || !m_model || !m_model->runner.isRunning || !manager.allowsInteraction())
        return;
    // commitDataRequest() needs the answer before it returns, so this blocks.
    delete m_question;
    m_question = makeQuitQuestion();
    m_question->setAttribute(Qt::WA_DeleteOnClose, false);
    bringForward(*m_window);
    m_question->exec(); // gate: allowed, because the session waits inside this call
    const bool quits = m_question && m_question->clickedButton() == m_quitAnswer;
    delete m_question;
    manager.release();
    if (m_isLeaving)
        return; // a termination signal arrived meanwhile
    if (!quits) {
        manager.cancel();
        return;
    }
    m_model->stopForQuit();
    leave();
}

void AppDelegate::leave()
{
    m_isLeaving = true;
    Q_EMIT leaving();
    if (m_window) {
        const auto dialogs = m_window->findChildren<QDialog *>();
        for (QDialog *dialog : dialogs)
            dialog->hide();
        m_window->hide();
    }
    if (!m_model) {
        end();
        return;
    }
    QTimer::singleShot(longestFarewell, this, &AppDelegate::end);
    windDown();
}

QCoro::Task<> AppDelegate::windDown()
{
    const QPointer<AppDelegate> self(this);
    auto unwinding = m_model->windDown();
    co_await unwinding;
    if (self)
        end();
}

void AppDelegate::end()
{
    if (m_hasEnded)
        return;
    m_hasEnded = true;
    m_end();
}
