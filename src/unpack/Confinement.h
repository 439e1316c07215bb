#pragma once

/// Which of the confinement's means are in force.
struct Confinement {
    bool noCoreFiles = false; ///< a crash writes no image of the memory anywhere
    bool noNewPrivileges = false; ///< no program that is started gains rights by its file
    bool files = false; ///< Landlock: nothing is opened, made or removed outside the folder
    bool systemCalls = false; ///< seccomp: the kernel refuses all calls but those that unpacking takes
};

/// Gives up, for good and for the whole process, every right that unpacking does not need: if an archive
/// finds a mistake in what reads it, there is little to be gained. What is already open stays open and keeps
/// its rights.
///
/// `folder` is the open folder below which files, folders and links are made and removed, -1 when nothing is
/// written; files in it are written, not read. The folder itself cannot be removed any more.
///
/// Call it before the first other thread is started and before the contents of the archive are looked at.
/// Where the system lacks one of the means, the others still hold. Never throws.
Confinement confine(int folder);
