#include "DesktopAppearance.h"

#include "BusLink.h"
#include "MessageBus.h"
#include "OwnThread.h"
#include "PortalSettings.h"

#include <utility>

struct DesktopAppearance::Parts {
    explicit Parts(std::function<void(const DesktopSettings &)> onChange)
        : settings(new PortalSettings(sessionBus, std::move(onChange)), destroyOnItsThread)
    {
        sessionBus->prepareWith([watching = std::weak_ptr(settings)](const QDBusConnection &bus) {
            if (const auto watcher = watching.lock())
                watcher->watchPortal(bus);
        });
        settings->read();
    }

    std::shared_ptr<BusLink> sessionBus = std::make_shared<BusLink>(MessageBus::sessionAddress);
    std::shared_ptr<PortalSettings> settings;
};

DesktopAppearance::DesktopAppearance(std::function<void(const DesktopSettings &)> onChange)
    : m_parts(std::make_unique<Parts>(std::move(onChange)))
{
}

DesktopAppearance::~DesktopAppearance() = default;

bool DesktopAppearance::isWaitingForBus() const { return m_parts->sessionBus->isConnecting(); }
