#pragma once

#include "DesktopAppearance.h"

#include <QDBusMessage>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

class BusLink;
class QDBusConnection;

/// The desktop's settings, by the names of their namespaces and keys.
using SettingsByNamespace = QMap<QString, QVariantMap>;

/// What these settings mean. Those of org.freedesktop.appearance count before the older ones of GNOME.
DesktopSettings desktopSettings(const SettingsByNamespace &settings);

/// The desktop portal's settings, read whenever a portal appears and kept up to date. Main thread.
class PortalSettings final : public QObject {
    Q_OBJECT

public:
    PortalSettings(std::shared_ptr<BusLink> sessionBus,
                   std::function<void(const DesktopSettings &)> onChange);

    /// Reads everything. Does nothing while an answer is pending.
    void read();

    /// Watches the portal on a new connection to the session bus. Any thread.
    void watchPortal(QDBusConnection sessionBus);

private Q_SLOTS:
    void settingChanged(const QDBusMessage &message);
    void portalChanged(const QString &name, const QString &before, const QString &after);

private:
    void askPortal(const QDBusConnection &bus);
    void announce();

    const std::shared_ptr<BusLink> m_sessionBus;
    const std::function<void(const DesktopSettings &)> m_onChange;
    bool m_isReading = false;
    SettingsByNamespace m_settings;
    DesktopSettings m_announced;
};
