#pragma once

#include <QString>

/// The general pasteboard, as an interface that tests implement too. Main thread.
class Pasteboard {
public:
    virtual ~Pasteboard();

    /// Replaces what the pasteboard holds by `text`, as plain text.
    virtual void setText(const QString &text) = 0;
};

/// The real one: the desktop's clipboard. Needs a QGuiApplication.
class DesktopPasteboard final : public Pasteboard {
public:
    void setText(const QString &text) override;
};
