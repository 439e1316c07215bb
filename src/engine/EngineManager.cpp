#include "EngineManager.h"

#include "Desktop.h"
#include "DiskNames.h"
#include "Paths.h"
#include "ProjectInfo.h"

#include <algorithm>

namespace {

/// Whether `text` is an optional sign and digits, and fits into 64 bits.
bool isInteger(const QString &text)
{
    bool fits = false;
    text.toLongLong(&fits);
    // toLongLong() also accepts white space around the number.
    const auto isPartOfNumber = [](QChar character) {
        return (character >= u'0' && character <= u'9') || character == u'+' || character == u'-';
    };
    return fits && std::all_of(text.begin(), text.end(), isPartOfNumber);
}

/// Whether a feature tag of a project names an engine version, as "4.3" does and "Mobile" does not.
bool isVersion(const QString &feature)
{
    const QStringList pieces = feature.split(u'.', Qt::SkipEmptyParts);
    return pieces.size() >= 2 && std::all_of(pieces.begin(), pieces.end(), isInteger);
}

QString nameOf(const EngineSpec &spec)
{
    return spec.isMono ? spec.version + DiskNames::monoSuffix : spec.version;
}

}

EngineManager::EngineManager(TransferRules rules)
    : m_rules(std::move(rules))
{
}

EngineSpec EngineManager::spec(const ProjectInfo &info)
{
    if (info.configVersion < 5)
        return { 3, QStringLiteral("3.6.3"), info.isCSharp };
    const auto version = std::find_if(info.features.begin(), info.features.end(), isVersion);
    return { 4, version != info.features.end() ? *version : QStringLiteral("4.7.2"), info.isCSharp };
}

QString EngineManager::folder(const EngineSpec &spec) { return Paths::engineFolder() + u'/' + nameOf(spec); }

QString EngineManager::markerURL(const EngineSpec &spec)
{
    return Paths::gameFolder() + u'/' + DiskNames::importMarkerPrefix + nameOf(spec);
}

std::optional<QString> EngineManager::executable(const EngineSpec &spec)
{
    return Desktop::current().engineProgram(folder(spec));
}
