#include "LauncherEntry.h"

#include "BusLink.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QPointer>
#include <QVariantMap>

#include <chrono>
#include <cmath>
#include <utility>

namespace {

constexpr std::chrono::milliseconds shortestPause { 250 };

std::optional<int> percent(std::optional<double> fraction)
{
    if (!fraction)
        return std::nullopt;
    return static_cast<int>(std::lround(*fraction * 100));
}

}

LauncherEntry::LauncherEntry(std::shared_ptr<BusLink> bus, const QString &applicationId)
    : m_bus(std::move(bus))
    , m_entry(QStringLiteral("application://%1.desktop").arg(applicationId))
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, &LauncherEntry::advance);
}

LauncherEntry::~LauncherEntry() { showProgress(std::nullopt); }

void LauncherEntry::showProgress(std::optional<double> fraction)
{
    m_wanted = percent(fraction);
    advance();
}

void LauncherEntry::advance()
{
    if (m_wanted == m_shown || m_isWaitingForBus)
        return;
    if (!m_wanted) {
        m_bus->send(update());
        m_shown.reset();
        return;
    }
    if (m_pause.isActive())
        return;
    m_isWaitingForBus = true;
    m_bus->use([self = QPointer(this)](const QDBusConnection *bus) {
        if (!self)
            return;
        self->m_isWaitingForBus = false;
        if (!self->m_wanted)
            return;
        if (bus)
            bus->send(self->update());
        self->m_shown = self->m_wanted;
        self->m_pause.start(shortestPause);
    });
}

QDBusMessage LauncherEntry::update() const
{
    QDBusMessage message = QDBusMessage::createSignal(QStringLiteral("/com/canonical/unity/launcherentry/1"),
                                                      QStringLiteral("com.canonical.Unity.LauncherEntry"),
                                                      QStringLiteral("Update"));
    message << m_entry
            << QVariantMap { { QStringLiteral("progress"), m_wanted.value_or(0) / 100.0 },
                             { QStringLiteral("progress-visible"), m_wanted.has_value() } };
    return message;
}
