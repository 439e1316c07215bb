#include "PortalSettings.h"

#include "BusLink.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

// The portal may have to be started first.
constexpr std::chrono::milliseconds longestAnswer { 10000 };

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

const QString common = QStringLiteral("org.freedesktop.appearance");
const QString gnome = QStringLiteral("org.gnome.desktop.interface");
const QString gnomeForAll = QStringLiteral("org.gnome.desktop.a11y.interface");

/// The value itself: some portals wrap it in a variant of its own.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

/// Nothing if it is missing or of another type: another program wrote it.
template <typename Value>
std::optional<Value> valueOf(const SettingsByNamespace &settings, const QString &nameSpace,
                             const QString &key)
{
    const QVariant value = unwrapped(settings.value(nameSpace).value(key));
    if (value.metaType() != QMetaType::fromType<Value>())
        return std::nullopt;
    return value.value<Value>();
}

std::optional<DesktopSettings::Scheme> scheme(const SettingsByNamespace &settings)
{
    constexpr uint prefersDark = 1;
    constexpr uint prefersLight = 2;
    switch (valueOf<uint>(settings, common, QStringLiteral("color-scheme")).value_or(0)) {
    case prefersDark:
        return DesktopSettings::Scheme::Dark;
    case prefersLight:
        return DesktopSettings::Scheme::Light;
    default:
        return std::nullopt;
    }
}

/// Three numbers. Any of them out of range means that there is no accent colour.
std::optional<DesktopSettings::Colour> accent(const SettingsByNamespace &settings)
{
    const auto value = valueOf<QDBusArgument>(settings, common, QStringLiteral("accent-color"));
    if (!value || value->currentSignature() != QLatin1StringView("(ddd)"))
        return std::nullopt;
    DesktopSettings::Colour colour;
    // Reading moves on in this argument, and not in the one that is kept, since an argument detaches first.
    value->beginStructure();
    *value >> colour.red >> colour.green >> colour.blue;
    value->endStructure();
    const auto isShare = [](double number) { return number >= 0 && number <= 1; };
    if (!isShare(colour.red) || !isShare(colour.green) || !isShare(colour.blue))
        return std::nullopt;
    return colour;
}

std::optional<bool> highContrast(const SettingsByNamespace &settings)
{
    if (const auto contrast = valueOf<uint>(settings, common, QStringLiteral("contrast")))
        return *contrast == 1;
    if (const auto isHigh = valueOf<bool>(settings, gnomeForAll, QStringLiteral("high-contrast"));
        isHigh.value_or(false))
        return true;
    if (const auto theme = valueOf<QString>(settings, gnome, QStringLiteral("gtk-theme")))
        return theme->startsWith(QLatin1StringView("HighContrast"));
    return std::nullopt;
}

std::optional<bool> reducedMotion(const SettingsByNamespace &settings)
{
    if (const auto motion = valueOf<uint>(settings, common, QStringLiteral("reduced-motion")))
        return *motion == 1;
    if (const auto animates = valueOf<bool>(settings, gnome, QStringLiteral("enable-animations")))
        return !*animates;
    return std::nullopt;
}

}

DesktopSettings desktopSettings(const SettingsByNamespace &settings)
{
    return { .scheme = scheme(settings),
             .accent = accent(settings),
             .highContrast = highContrast(settings),
             .reducedMotion = reducedMotion(settings) };
}

PortalSettings::PortalSettings(std::shared_ptr<BusLink> sessionBus,
                               std::function<void(const DesktopSettings &)> onChange)
    : m_sessionBus(std::move(sessionBus))
    , m_onChange(std::move(onChange))
{
}

void PortalSettings::watchPortal(QDBusConnection sessionBus)
{
    // With the whole message as its parameter. QtDBus looks other types up by their names, and on this thread
    // it may not know that of QDBusVariant yet.
    sessionBus.connect(QString(), portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                       SLOT(settingChanged(QDBusMessage)));
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    sessionBus.connect(bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("NameOwnerChanged"),
                       { portalService }, QString(), this, SLOT(portalChanged(QString, QString, QString)));
}

void PortalSettings::read()
{
    if (std::exchange(m_isReading, true))
        return;
    m_sessionBus->use([self = QPointer(this)](const QDBusConnection *bus) {
        if (self && bus)
            self->askPortal(*bus);
        else if (self)
            self->m_isReading = false;
    });
}

void PortalSettings::askPortal(const QDBusConnection &bus)
{
    // One question for everything: a desktop that lacks a setting leaves it out.
    QDBusMessage message = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                          QStringLiteral("ReadAll"));
    message << QStringList { common, gnome, gnomeForAll };
    auto *answer
        = new QDBusPendingCallWatcher(bus.asyncCall(message, static_cast<int>(longestAnswer.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        m_isReading = false;
        const QDBusMessage reply = answer->reply();
        if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1StringView("a{sa{sv}}"))
            return;
        m_settings = qdbus_cast<SettingsByNamespace>(reply.arguments().constFirst());
        announce();
    });
}

void PortalSettings::settingChanged(const QDBusMessage &message)
{
    if (message.signature() != QLatin1StringView("ssv"))
        return;
    const QString nameSpace = message.arguments().at(0).toString();
    if (nameSpace != common && nameSpace != gnome && nameSpace != gnomeForAll)
        return;
    m_settings[nameSpace].insert(message.arguments().at(1).toString(), message.arguments().at(2));
    announce();
}

/// One that is started again may have other settings; one that ends leaves the last ones in force.
void PortalSettings::portalChanged(const QString & /*name*/, const QString & /*before*/, const QString &after)
{
    if (!after.isEmpty())
        read();
}

void PortalSettings::announce()
{
    const DesktopSettings settings = desktopSettings(m_settings);
    if (settings == std::exchange(m_announced, settings))
        return;
    m_onChange(settings);
}
