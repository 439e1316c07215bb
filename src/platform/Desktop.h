#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// Everything that differs between the desktops that the launcher runs on, as one small value. The rules for
/// both are compiled everywhere; the value says which apply. Plain data, and queries without side effects:
/// any thread.
struct Desktop {
    enum class System { MacOS, Linux };
    enum class Processor { X86_64, Arm64 };

    System system = System::Linux;
    Processor processor = Processor::X86_64;
    /// The program that unpacks zip archives with the arguments `-x -k ARCHIVE FOLDER`. "/usr/bin/ditto" on
    /// macOS; on Linux our own, beside the launcher or in its libexec folder.
    QString unpackTool;
    /// Our own program, which refuses an archive that cannot be trusted or does not fit on the disk before
    /// `unpackTool` runs; its arguments are `--check ARCHIVE --into FOLDER`. Empty where it is the unpack
    /// tool, since that always checks.
    QString archiveCheckTool;
    /// The program that clears the download-quarantine attribute. Empty where files carry no such flag.
    QString quarantineTool;

    /// The desktop that this process works for: the machine's own unless a test chose another.
    static Desktop current();
    /// The value that `current()` returns for `system` on this machine.
    static Desktop describing(System system);
    /// Makes `current()` return `desktop`, or without a value the machine's own again. For tests, before
    /// other threads start.
    static void use(std::optional<Desktop> desktop);

    /// The user's home folder: HOME if that is an absolute path, else the account's, else the root of the
    /// file system, where writing fails and the player is told so.
    static QString homeFolder();

    /// The user's folders for application data, preferred first. Empty when the system names none.
    QStringList applicationSupportFolders() const;

    /// The engine's data folder in `applicationSupport`: "Godot". On Linux, when only a folder exists whose
    /// name differs from that in letter case ("godot", as engines write it there), that folder.
    QString engineDataFolder(const QString &applicationSupport) const;

    /// What follows "Godot_v<version>-stable_" in the name of the official archive, ".zip" included.
    /// `majorLine` 3 or lower is the 3.x line.
    QString engineArchiveEnding(qint64 majorLine, bool isMono) const;

    /// The engine program inside an unpacked official build; no value when there is none. Reads the disk.
    std::optional<QString> engineProgram(const QString &engineFolder) const;
};
