#pragma once

#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

/// The desktop's file browser and web browser, as an interface that tests implement too. Main thread.
///
/// Each operation returns at once. When nothing on this desktop could do it, its `onFailure` is called later
/// on the main thread, once; when something could, never.
class Workspace {
public:
    virtual ~Workspace();

    /// Opens the file browser on the parent of `folder`, with `folder` selected where the desktop can do
    /// that.
    virtual void reveal(const QString &folder, std::function<void()> onFailure) = 0;
    /// Opens the file browser on `folder`.
    virtual void open(const QString &folder, std::function<void()> onFailure) = 0;
    /// Opens the web browser on `page`.
    virtual void browse(const QUrl &page, std::function<void()> onFailure) = 0;
};

class FileManagerQuestions;

/// The real one: Finder on macOS; elsewhere the file manager's D-Bus interface org.freedesktop.FileManager1,
/// and xdg-open, the desktop's opener, for pages and where there is no such file manager.
class DesktopWorkspace final : public Workspace {
public:
    DesktopWorkspace();
    ~DesktopWorkspace() override;

    void reveal(const QString &folder, std::function<void()> onFailure) override;
    void open(const QString &folder, std::function<void()> onFailure) override;
    void browse(const QUrl &page, std::function<void()> onFailure) override;

    /// Whether a thread waits for a session bus that has not answered yet. The program's ordinary end would
    /// wait for that thread too.
    bool isWaitingForBus() const;

private:
    std::shared_ptr<FileManagerQuestions> m_questions;
};
