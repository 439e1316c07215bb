#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// Everything that differs between the desktops that the launcher runs on, as one small value. Both desktops'
/// rules are compiled on every machine; the value says which apply. Plain data and questions without side
/// effects: any thread.
struct Desktop {
    enum class System { MacOS, Linux };
    enum class Processor { X86_64, Arm64 };

    System system = System::Linux;
    Processor processor = Processor::X86_64;
    /// The program that unpacks zip archives with the arguments `-x -k ARCHIVE FOLDER`. "/usr/bin/ditto" on
    /// macOS; on Linux our own, beside the launcher or in its libexec folder.
    QString unpackTool;
    /// The program that refuses an archive that cannot be trusted, with the arguments `--check ARCHIVE`,
    /// before `unpackTool` runs: our own. Empty where that is the unpack tool, which checks by itself.
    QString archiveCheckTool;
    /// The program that clears the download-quarantine attribute. Empty where files carry no such flag.
    QString quarantineTool;

    /// The desktop that this process works for: the machine's own unless a test chose another.
    static Desktop current();
    /// The value that `current()` gives for `system` on this machine.
    static Desktop describing(System system);
    /// Makes `current()` give `desktop`, or the machine's own again with none. For tests, before other
    /// threads run.
    static void use(std::optional<Desktop> desktop);

    /// The user's home folder: the one in HOME if that is an absolute path, else the account's, else the root
    /// of the file system, where a player may not write and reads why.
    static QString homeFolder();

    /// The user's folders for application data, best first. Empty when the system names none.
    QStringList applicationSupportFolders() const;

    /// The engine's data folder below `applicationSupport`. "Godot", but where the file system knows letter
    /// case and only a folder exists that differs from it in case ("godot", as engines on Linux write it),
    /// that folder.
    QString engineDataFolder(const QString &applicationSupport) const;

    /// What follows "Godot_v<version>-stable_" in the name of the official archive, ".zip" included.
    /// `majorLine` 3 or lower is the 3.x line.
    QString engineArchiveEnding(qint64 majorLine, bool isMono) const;

    /// The engine program inside an unpacked official build, or none. Looks at the disk.
    std::optional<QString> engineProgram(const QString &engineFolder) const;
};
