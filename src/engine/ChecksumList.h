#pragma once

#include <QString>

#include <optional>

/// The engine project's list of checksums: per line a hash, blanks and a file name, as sha512sum writes them.
namespace ChecksumList {

/// The hash that the first line for `fileName` begins with, as it stands there, or none. A "*" in front of
/// the name is a mark of the tool's, not part of the name.
std::optional<QString> hash(const QString &list, const QString &fileName);

}
