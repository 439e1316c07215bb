#pragma once

#include <QString>

#include <optional>

/// The engine project's checksum list, in sha512sum's format: per line a hash, blanks and a file name.
namespace ChecksumList {

/// The hash in the first line for `fileName`, letter case unchanged; no value when there is no such line. The
/// "*" with which sha512sum may mark a name is ignored.
std::optional<QString> hash(const QString &list, const QString &fileName);

}
