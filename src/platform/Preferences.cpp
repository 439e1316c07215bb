#include "Preferences.h"

#include <QVariant>

namespace {

const QString fullscreenKey = QStringLiteral("fullscreen");
const QString resolutionKey = QStringLiteral("resolution");

}

Preferences::Preferences()
    : m_store(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                          QStringLiteral("vantor-platformer"),
                                          QStringLiteral("vantor-platformer")))
{
}

Preferences::Preferences(const QString &file)
    : m_store(std::make_unique<QSettings>(file, QSettings::IniFormat))
{
}

bool Preferences::fullscreen() const
{
    // Not QVariant::toBool(): it takes every text but "false", "0" and "" for true, a damaged value included.
    const QString value = m_store->value(fullscreenKey).toString();
    return value == QLatin1StringView("true") || value == QLatin1StringView("1");
}

void Preferences::setFullscreen(bool fullscreen)
{
    m_store->setValue(fullscreenKey, fullscreen);
    m_store->sync();
}

QString Preferences::resolution() const
{
    // A list, as "resolution=a, b" reads, or another thing that is no text counts as missing.
    const QVariant value = m_store->value(resolutionKey);
    if (value.userType() != QMetaType::QString)
        return QStringLiteral("default");
    return value.toString();
}

void Preferences::setResolution(const QString &resolution)
{
    m_store->setValue(resolutionKey, resolution);
    m_store->sync();
}
