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

bool opensControls(QStringView heading)
{
    return heading.contains(u"control", Qt::CaseInsensitive)
        || heading.contains(u"how to play", Qt::CaseInsensitive);
}

bool isBullet(QStringView line)
{
    return line.startsWith(u'-') || line.startsWith(u'*') || line.startsWith(u'\u2022');
}

QStringList controlsOfReadme(QStringView readme)
{
    QStringList controls;
    bool inSection = false;
    TextLines::forEachUntil(readme, [&controls, &inSection](QStringView untrimmed) {
        const QStringView line = TextLines::trimmed(untrimmed);
        if (line.startsWith(u'#')) {
            inSection = opensControls(line);
        } else if (inSection && isBullet(line)) {
            const QString item = TextLines::withoutMarkdown(line.sliced(1));
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

/// Puts what `folder` holds on top of `pending`, the first entry topmost.
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

/// Looks through the scripts in `root` as the disk lists them, the content of each folder right after the
/// folder.
ScriptActions actionsOfScripts(const QString &root)
{
    ScriptActions actions;
    int scripts = 0;
    QList<PendingEntry> pending;
    pushEntries(root, pending);
    while (!pending.isEmpty() && scripts < mostScripts && !(actions.moves() && actions.jumps())) {
        const PendingEntry entry = pending.takeLast();
        // A folder may bear a script's name: it counts as one that cannot be read.
        if (entry.path.endsWith(QLatin1StringView(".gd"))) {
            ++scripts;
            actions.add(TextFile::read(entry.path).value_or(QString()));
        }
        if (entry.isFolder)
            pushEntries(entry.path, pending);
    }
    return actions;
}

}

ControlsList controlsList(const QString &readme, const QString &root)
{
    const QStringList ofReadme = controlsOfReadme(readme);
    if (!ofReadme.isEmpty())
        return { ofReadme, true };

    const ScriptActions actions = actionsOfScripts(root);
    QStringList controls { QStringLiteral("See README (it lists no controls).") };
    if (actions.moves())
        controls.append(QStringLiteral("Left / Right arrow keys: move (from the game's scripts)"));
    if (actions.jumps())
        controls.append(QStringLiteral("Up arrow: jump (from the game's scripts)"));
    controls.append(QStringLiteral("The game also shows on-screen buttons you can click."));
    return { controls, false };
}

void ScriptActions::add(const QString &script)
{
    constexpr qsizetype seam = longestAction - 1;
    search(m_end + script.left(seam));
    search(script);
    m_end = (m_end + script.right(seam)).right(seam);
}

void ScriptActions::search(QStringView text)
{
    m_moves = m_moves || text.contains(u"ui_left") || text.contains(u"ui_right");
    m_jumps = m_jumps || text.contains(u"ui_up");
}
