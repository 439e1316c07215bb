#include "DesktopPresence.h"

#include "AppModel.h"
#include "DesktopShell.h"
#include "ExitReport.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

#include <utility>

namespace {

bool isInstalling(const AppState &state)
{
    return state.kind() == AppState::Case::Downloading || state.kind() == AppState::Case::SettingUp;
}

}

DesktopPresence::DesktopPresence(AppModel &model, QWidget &window, DesktopShell &shell)
    : m_model(model)
    , m_window(window)
    , m_shell(shell)
    , m_news(news())
    , m_refresh(this, [this] { refresh(); })
{
    m_refresh.watch(model);
    m_refresh.watch(model.runner);
    // The window or one of its sheets.
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow *focused) {
        if (focused)
            m_shell.withdrawNotification();
    });
}

void DesktopPresence::leave()
{
    m_hasLeft = true;
    m_shell.setActivity(DesktopShell::Activity::None);
    m_shell.showProgress(std::nullopt);
    m_shell.withdrawNotification();
}

void DesktopPresence::refresh()
{
    if (m_hasLeft)
        return;
    const bool installs = isInstalling(m_model.state);
    if (installs)
        m_shell.setActivity(DesktopShell::Activity::Installing);
    else if (m_model.runner.isRunning)
        m_shell.setActivity(DesktopShell::Activity::GameRunning);
    else
        m_shell.setActivity(DesktopShell::Activity::None);
    m_shell.showProgress(installs ? m_model.progress.get() : std::nullopt);

    const std::optional<QString> before = std::exchange(m_news, news());
    if (!m_news || m_news == before || QGuiApplication::focusWindow())
        return;
    QApplication::alert(&m_window);
    m_shell.notify(*m_news);
}

std::optional<QString> DesktopPresence::news() const
{
    if (m_model.failureMessage->has_value())
        return withoutLinesToFollow(*m_model.failureMessage.get());
    return m_model.notice.get() == AppModel::updatedNotice() ? m_model.notice.get() : std::nullopt;
}
