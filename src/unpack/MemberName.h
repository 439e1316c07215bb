#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The most bytes that the name of a member, or what a link leads to, may have.
constexpr std::size_t longestName = 1024;

/// `text` cut at every "/", empty parts kept.
std::vector<std::string> partsOf(std::string_view text);

/// Throws UnpackError unless `name`, without a folder's "/" at its end, stays in the folder that it is
/// unpacked into and can be written on every desktop: relative, without empty parts, "." and "..",
/// backslashes and control characters, in UTF-8, no part longer than 255 bytes and the whole no longer than
/// 1,024.
void checkMemberName(const std::string &name);

/// The same for a name that only some readers use, in whatever character set its writer had: all rules but
/// UTF-8.
void checkOtherName(const std::string &name);

/// Throws UnpackError unless `target`, of the link called `link`, is a relative path without control
/// characters, in UTF-8 and no longer than 1,024 bytes. Where it leads is another question.
void checkLinkTarget(const std::string &link, const std::string &target);

/// Equal for parts of names that a file system may take for the same: those that differ only in letter case,
/// in Unicode's normal form, or in characters that HFS+ ignores.
std::string comparisonKey(const std::string &part);

/// `name` in quotation marks, fit for one line of a log whatever is in it.
std::string quoted(const std::string &name);
