#include "EngineSpec.h"

#include "CodeHost.h"
#include "Desktop.h"

QString EngineSpec::fileName() const
{
    return QStringLiteral("Godot_v") + version + QStringLiteral("-stable_")
        + Desktop::current().engineArchiveEnding(major, isMono);
}

QString EngineSpec::baseURL() const
{
    return CodeHost::address().toString() + QStringLiteral("/godotengine/godot-builds/releases/download/")
        + version + QStringLiteral("-stable/");
}

QString EngineSpec::displayName() const
{
    return QStringLiteral("Godot ") + version + (isMono ? QStringLiteral(" (.NET)") : QString());
}
