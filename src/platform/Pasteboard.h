#pragma once

#include <QString>

/// The system clipboard, as an interface that tests implement too. Main thread.
class Pasteboard {
public:
    virtual ~Pasteboard();

    /// Replaces the clipboard's contents with `text`, as plain text.
    virtual void setText(const QString &text) = 0;
};

/// The real one. Needs a QGuiApplication.
class DesktopPasteboard final : public Pasteboard {
public:
    void setText(const QString &text) override;
};
