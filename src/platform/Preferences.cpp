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
    // Not QVariant::toBool(): it reads every text except "false", "0" and "" as true, even a damaged value.
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
    // Anything but text counts as missing, such as the list that QSettings makes of "resolution=a, b".
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
