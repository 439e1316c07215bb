#pragma once

#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

/// The desktop's file browser and web browser, as an interface that tests implement too. Main thread.
///
/// Each operation returns at once. If nothing on this desktop can do it, its `onFailure` is called later,
/// once, on the main thread; otherwise never.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Opens the file browser on the parent of `folder`, with `folder` selected if the desktop can.
    virtual void reveal(const QString &folder, std::function<void()> onFailure) = 0;
    /// Opens the file browser on `folder`.
    virtual void open(const QString &folder, std::function<void()> onFailure) = 0;
    /// Opens the web browser on `page`.
    virtual void browse(const QUrl &page, std::function<void()> onFailure) = 0;
};

class FileManagerQuestions;

/// The real one: NSWorkspace on macOS; elsewhere the file manager's D-Bus interface
/// org.freedesktop.FileManager1 to reveal a folder, and xdg-open for the rest and when that fails.
class DesktopWorkspace final : public Workspace {
public:
    DesktopWorkspace();
    ~DesktopWorkspace() override;

    void reveal(const QString &folder, std::function<void()> onFailure) override;
    void open(const QString &folder, std::function<void()> onFailure) override;
    void browse(const QUrl &page, std::function<void()> onFailure) override;

    /// Whether a thread is still waiting for the session bus. A normal exit would wait for that thread too.
    bool isWaitingForBus() const;

private:
    std::shared_ptr<FileManagerQuestions> m_questions;
};
