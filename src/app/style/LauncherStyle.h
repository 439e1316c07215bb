#pragma once

#include "Tokens.h"

#include <QProxyStyle>

/// How the launcher looks off macOS: flat controls in the colours of its tokens, in the desktop's font. Widgets
/// get their look by what they are; none needs to know this class. The application owns it. Main thread.
class LauncherStyle final : public QProxyStyle {
    Q_OBJECT

public:
    explicit LauncherStyle(const Appearance &appearance);

    const Tokens &tokens() const { return m_tokens; }
    /// Changes the look of everything that is shown.
    void setAppearance(const Appearance &appearance);

    QPalette standardPalette() const override;
    void polish(QPalette &palette) override;
    using QProxyStyle::polish;

private:
    Tokens m_tokens;
};
