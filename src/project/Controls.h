#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

/// How to play, one entry per line shown.
struct ControlsList {
    QStringList controls;
    bool fromReadme = false;

    bool operator==(const ControlsList &) const = default;
};

/// The first eight bullets under the README's headings about the controls; without any, what the scripts of
/// the game in `root` tell. `readme` is in UTF-8 and is given away: both it and a script may be large.
ControlsList controlsList(QByteArray readme, const QString &root);

/// Which of the engine's own input actions the game's scripts name, as if they were one text: a name may even
/// begin at the end of one script and end in the next.
class ScriptActions final {
public:
    /// `script` is in UTF-8.
    void add(const QByteArray &script);

    bool moves() const { return m_moves; }
    bool jumps() const { return m_jumps; }

private:
    void search(QByteArrayView text);

    bool m_moves = false;
    bool m_jumps = false;
    /// The end of what has been added, one character shorter than the longest name.
    QByteArray m_end;
};
