#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The maximum length of a member's name or of a link's target, in bytes.
constexpr std::size_t longestName = 1024;

/// `text` split at every "/", empty parts kept.
std::vector<std::string> partsOf(std::string_view text);

/// Throws UnpackError unless `name`, given without a folder's trailing "/", stays in the folder that it is
/// unpacked into and is valid on every desktop: relative, in UTF-8, without empty parts, ".", "..",
/// backslashes or control characters, no part longer than 255 bytes and the whole no longer than 1,024.
void checkMemberName(const std::string &name);

/// The same for a name that only some readers use: all rules except UTF-8, since its character set is
/// unknown.
void checkOtherName(const std::string &name);

/// Throws UnpackError unless `target`, of the link called `link`, is a relative path without control
/// characters, in UTF-8 and no longer than 1,024 bytes. Does not check where it leads.
void checkLinkTarget(const std::string &link, const std::string &target);

/// A key that is equal for parts of names that some file system may treat as the same: those that differ only
/// in letter case, in Unicode normal form, or in characters that HFS+ ignores.
std::string comparisonKey(const std::string &part);

/// `name` in quotation marks, shortened and made printable to fit one line of a log.
std::string inQuotes(const std::string &name);
