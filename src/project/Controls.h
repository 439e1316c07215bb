#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

/// How to play, one entry per line shown.
struct ControlsList {
    QStringList controls;
    bool fromReadme = false;

    bool operator==(const ControlsList &) const = default;
};

/// The first eight bullets under the README's headings about the controls; without any, what the scripts of
/// the game in `root` tell.
ControlsList controlsList(const QString &readme, const QString &root);

/// Which of the engine's own input actions the game's scripts name, as if they were one text: a name may even
/// begin at the end of one script and end in the next.
class ScriptActions final {
public:
    void add(const QString &script);

    bool moves() const { return m_moves; }
    bool jumps() const { return m_jumps; }

private:
    void search(QStringView text);

    bool m_moves = false;
    bool m_jumps = false;
    /// The end of what has been added, one character shorter than the longest name.
    QString m_end;
};
