#include "DesktopOpener.h"
#include "FileManagerQuestions.h"
#include "Workspace.h"

#include <QFileInfo>

DesktopWorkspace::DesktopWorkspace()
    : m_questions(std::make_shared<FileManagerQuestions>())
{
}

DesktopWorkspace::~DesktopWorkspace() = default;

void DesktopWorkspace::reveal(const QString &folder, std::function<void()> onFailure)
{
    const QUrl parent = QUrl::fromLocalFile(QFileInfo(folder).absolutePath());
    auto openParent = [parent, onFailure = std::move(onFailure)] { DesktopOpener::open(parent, onFailure); };
    m_questions->ask({ folder, std::move(openParent) });
}

void DesktopWorkspace::open(const QString &folder, std::function<void()> onFailure)
{
    DesktopOpener::open(QUrl::fromLocalFile(folder), std::move(onFailure));
}

void DesktopWorkspace::browse(const QUrl &page, std::function<void()> onFailure)
{
    DesktopOpener::open(page, std::move(onFailure));
}

bool DesktopWorkspace::isWaitingForBus() const { return m_questions->isConnecting(); }
