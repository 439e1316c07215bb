#pragma once

#include <QString>

/// The desktop's file browser, as an interface that tests implement too. Main thread.
class Workspace {
public:
    virtual ~Workspace();

    /// Opens the file browser on the parent of `folder`, with `folder` selected where the desktop can do
    /// that.
    virtual void reveal(const QString &folder) = 0;
    /// Opens the file browser on `folder`.
    virtual void open(const QString &folder) = 0;
};

/// The real one: Finder on macOS; elsewhere the file manager's D-Bus interface org.freedesktop.FileManager1,
/// and the desktop's opener for folders where there is no such file manager.
class DesktopWorkspace final : public Workspace {
public:
    void reveal(const QString &folder) override;
    void open(const QString &folder) override;
};
