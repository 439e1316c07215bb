#pragma once

/// Which confinement measures are in force.
struct Confinement {
    bool noCoreFiles = false; ///< a crash leaves no core dump
    bool noNewPrivileges = false; ///< no program started from here gains rights through its file
    bool files = false; ///< Landlock: nothing is opened, created or removed outside the folder
    bool systemCalls = false; ///< seccomp: the kernel refuses every call that unpacking does not need
};

/// Permanently gives up, for the whole process, every right that unpacking does not need, so that an archive
/// that exploits a bug in its reader gains little. Open files stay open and keep their rights.
///
/// `folder` is the descriptor of the folder below which files, folders and links may be created and removed,
/// -1 when nothing is written. Files in it can be written but not read. The folder itself can no longer be
/// removed.
///
/// Call it before starting another thread and before reading the archive's contents. If the system lacks one
/// of the measures, the others still apply. Never throws.
Confinement confine(int folder);
