#include "Controls.h"

#include "FolderListing.h"
#include "TextFile.h"
#include "TextLines.h"

#include <QList>

namespace {

constexpr qsizetype mostControls = 8;
constexpr int mostScripts = 201;
// "ui_right" is the longest of the names.
constexpr qsizetype longestAction = 8;

/// Whether `text` contains the lower-case `word` in any letter case. Folding ASCII letters is enough as long
/// as `word` has no "i" or "k", the only ones that are also the lower case of another character.
bool containsInAnyCase(QByteArrayView text, QByteArrayView word)
{
    const char small = word.front();
    const char capital = static_cast<char>(small - 'a' + 'A');
    for (qsizetype start = 0; start + word.size() <= text.size(); ++start) {
        const char first = text.data()[start];
        if ((first == small || first == capital)
            && qstrnicmp(text.data() + start, word.size(), word.data(), word.size()) == 0)
            return true;
    }
    return false;
}

bool opensControls(QByteArrayView heading)
{
    return containsInAnyCase(heading, "control") || containsInAnyCase(heading, "how to play");
}

/// The size in bytes of the bullet that makes `line` a list item; 0 when there is none.
qsizetype bulletSize(QByteArrayView line)
{
    constexpr QByteArrayView roundBullet = "\xe2\x80\xa2";
    if (line.startsWith('-') || line.startsWith('*'))
        return 1;
    return line.startsWith(roundBullet) ? roundBullet.size() : 0;
}

QStringList controlsOfReadme(QByteArrayView readme)
{
    QStringList controls;
    bool inSection = false;
    TextLines::forEachUntil(readme, [&controls, &inSection](QByteArrayView line) {
        if (line.startsWith('#')) {
            inSection = opensControls(line);
        } else if (const qsizetype bullet = inSection ? bulletSize(line) : 0) {
            const QString item = TextLines::withoutMarkdown(line.sliced(bullet));
            if (!item.isEmpty())
                controls.append(item);
        }
        return controls.size() < mostControls;
    });
    return controls;
}

struct PendingEntry {
    QString path;
    bool isFolder = false;
};

/// Pushes what `folder` holds onto `pending`, the first entry on top. Skips hidden entries.
void pushEntries(const QString &folder, QList<PendingEntry> &pending)
{
    const auto entries = listFolder(folder);
    if (!entries)
        return;
    for (auto entry = entries->crbegin(); entry != entries->crend(); ++entry) {
        if (!entry->isHidden())
            pending.append({ folder + u'/' + entry->name, entry->isFolder });
    }
}

/// Searches the scripts in `root` in listing order, depth first.
ScriptActions actionsOfScripts(const QString &root)
{
    ScriptActions actions;
    int scripts = 0;
    QList<PendingEntry> pending;
    pushEntries(root, pending);
    while (!pending.isEmpty() && scripts < mostScripts && !(actions.moves() && actions.jumps())) {
        const PendingEntry entry = pending.takeLast();
        // A folder may have a script's name: it counts as an unreadable script.
        if (entry.path.endsWith(QLatin1StringView(".gd"))) {
            ++scripts;
            actions.add(TextFile::read(entry.path).value_or(QByteArray()));
        }
        if (entry.isFolder)
            pushEntries(entry.path, pending);
    }
    return actions;
}

}

ControlsList controlsList(QByteArray readme, const QString &root)
{
    const QStringList ofReadme = controlsOfReadme(readme);
    readme.clear();
    if (!ofReadme.isEmpty())
        return { .controls = ofReadme, .fromReadme = true };

    const ScriptActions actions = actionsOfScripts(root);
    QStringList controls { QStringLiteral("See README (it lists no controls).") };
    if (actions.moves())
        controls.append(QStringLiteral("Left / Right arrow keys: move (from the game's scripts)"));
    if (actions.jumps())
        controls.append(QStringLiteral("Up arrow: jump (from the game's scripts)"));
    controls.append(QStringLiteral("The game also shows on-screen buttons you can click."));
    return { .controls = controls, .fromReadme = false };
}

void ScriptActions::add(const QByteArray &script)
{
    constexpr qsizetype seam = longestAction - 1;
    search(m_end + script.left(seam));
    search(script);
    m_end = (m_end + script.right(seam)).right(seam);
}

void ScriptActions::search(QByteArrayView text)
{
    m_moves = m_moves || text.contains("ui_left") || text.contains("ui_right");
    m_jumps = m_jumps || text.contains("ui_up");
}
