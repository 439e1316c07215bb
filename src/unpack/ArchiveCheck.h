#pragma once

#include "ArchiveFile.h"
#include "Stretch.h"
#include "ZipDirectory.h"

#include <map>
#include <string>
#include <vector>

/// An archive that can be trusted: everything in it is known to be sound.
struct CheckedArchive {
    std::vector<ZipMember> members; ///< in the order in which they lie in it
    std::map<std::string, std::string> targets; ///< where each link leads, by its name
    std::vector<Stretch> stretches; ///< of the files, in the same order
};

/// Reads the whole archive without writing anything: the directory, where links lead, and every member's
/// data, which must have the announced length and checksum. Throws UnpackError for an archive that cannot be
/// trusted or is damaged.
CheckedArchive checkArchive(const ArchiveFile &file);
