#include "NameHash.h"

#include <QHashFunctions>
#include <QRandomGenerator>

std::uint64_t nameHash(std::string_view text)
{
    static const auto seed = static_cast<std::size_t>(QRandomGenerator::system()->generate64());
    return qHashBits(text.data(), text.size(), seed);
}
