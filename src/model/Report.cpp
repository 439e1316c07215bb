#include "Report.h"

#include "FileSizeText.h"
#include "Redaction.h"

namespace {

const QString unknown = QStringLiteral("unknown");

QString yesOrNo(std::optional<bool> fact)
{
    if (!fact)
        return unknown;
    return *fact ? QStringLiteral("yes") : QStringLiteral("no");
}

/// Writes the report's lines.
class Lines final {
public:
    explicit Lines(const Redaction &redaction)
        : m_redaction(redaction)
    {
    }

    void heading(const QString &text)
    {
        line(QString());
        line(text);
        line(QString(text.size(), u'-'));
    }

    /// A fact, which stays on one line whatever it contains.
    void fact(const QString &name, const QString &value)
    {
        QString text = m_redaction.redacted(value);
        text.replace(u'\n', u' ');
        line(name + QStringLiteral(": ") + (text.trimmed().isEmpty() ? unknown : text));
    }

    void redacted(const QString &text) { line(m_redaction.redacted(text)); }

    void line(const QString &text)
    {
        m_text += text.toUtf8();
        m_text += '\n';
    }

    const QByteArray &text() const { return m_text; }

private:
    const Redaction &m_redaction;
    QByteArray m_text;
};

void addGame(Lines &lines, const ProjectInfo &game)
{
    lines.fact(QStringLiteral("Name"), game.name);
    lines.fact(QStringLiteral("Description"), game.blurb);
    lines.fact(QStringLiteral("Author"), game.author);
    lines.fact(QStringLiteral("Licence"), game.licenseName);
    lines.fact(QStringLiteral("Project format"),
               game.configVersion > 0 ? QString::number(game.configVersion) : QString());
    lines.fact(QStringLiteral("Features"), game.features.join(QStringLiteral(", ")));
    lines.fact(QStringLiteral("Main scene"), game.mainScene);
    lines.fact(QStringLiteral("Uses C#"), yesOrNo(game.isCSharp));
    lines.fact(QStringLiteral("Controls"), game.controls.join(QStringLiteral("; ")));
}

}

QByteArray Report::text(const Redaction &redaction) const
{
    Lines lines(redaction);
    lines.line(QStringLiteral("Vantor Platformer report"));
    lines.fact(QStringLiteral("Saved"), time.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss 'UTC'")));
    lines.line(QStringLiteral(
        "The home folder is written as ~. What was left out is marked <user>, <computer> or <removed>."));
    lines.line(QStringLiteral(
        "The launcher has sent this file to nobody. Please look through it before you pass it on."));

    lines.heading(QStringLiteral("Versions"));
    lines.fact(QStringLiteral("Launcher"), launcherVersion);
    lines.fact(QStringLiteral("Qt"), system.qtVersion);
    lines.fact(QStringLiteral("System"), system.system);
    lines.fact(QStringLiteral("Kernel"), system.kernel);
    lines.fact(QStringLiteral("Processor"), system.processor);
    lines.fact(QStringLiteral("Desktop"), system.desktop);
    lines.fact(QStringLiteral("Session"), system.session);
    lines.fact(QStringLiteral("Window system"), system.windowSystem);
    lines.fact(QStringLiteral("Engine"), engine ? engine->displayName() : QString());
    lines.fact(QStringLiteral("Engine installed"), yesOrNo(isEngineInstalled));

    lines.heading(QStringLiteral("Game"));
    lines.fact(QStringLiteral("Downloaded"), yesOrNo(isGameDownloaded));
    lines.fact(QStringLiteral("Imported"), yesOrNo(isGameImported));
    if (game)
        addGame(lines, *game);

    lines.heading(QStringLiteral("Settings"));
    lines.fact(QStringLiteral("Fullscreen"), yesOrNo(fullscreen));
    lines.fact(QStringLiteral("Window size"), resolution);

    lines.heading(QStringLiteral("Disk"));
    lines.fact(QStringLiteral("Launcher's folder"), folder);
    lines.fact(QStringLiteral("Free space"),
               freeSpace ? QStringLiteral("%1 (%2 bytes)").arg(fileSizeText(*freeSpace)).arg(*freeSpace)
                         : QString());

    lines.heading(QStringLiteral("Failure"));
    lines.fact(QStringLiteral("Shown"), failure.value_or(QStringLiteral("nothing")));

    const QString unit = log.size() == 1 ? QStringLiteral("line") : QStringLiteral("lines");
    lines.heading(QStringLiteral("Log (%1 %2)").arg(log.size()).arg(unit));
    for (const QString &each : log)
        lines.redacted(each);
    return lines.text();
}
