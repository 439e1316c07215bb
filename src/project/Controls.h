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

/// The first eight bullets under the README's headings about the controls; without any, what the scripts in
/// `root` reveal. `readme` is in UTF-8. Pass it by move: both it and a script may be large, and it is freed
/// before the scripts are read.
ControlsList controlsList(QByteArray readme, const QString &root);

/// Finds which of the engine's own input actions the game's scripts name. The scripts count as one text: a
/// name may even begin at the end of one and end in the next.
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
    /// The last bytes added, one byte shorter than the longest name.
    QByteArray m_end;
};
