#include "DesktopShell.h"

#include "BusLink.h"
#include "LauncherEntry.h"
#include "MessageBus.h"
#include "Notifier.h"
#include "OwnThread.h"
#include "SleepInhibitor.h"

struct NativeDesktopShell::Parts {
    Parts(const QString &applicationId, const QString &title)
        : inhibitor(new SleepInhibitor(sessionBus, systemBus, title,
                                       QStringLiteral("Downloading and setting up the game")),
                    destroyOnItsThread)
        , notifier(sessionBus, applicationId, title)
        , entry(sessionBus, applicationId)
    {
        sessionBus->prepareWith([watching = std::weak_ptr(inhibitor)](const QDBusConnection &bus) {
            if (const auto watcher = watching.lock())
                watcher->watchPortal(bus);
        });
    }

    std::shared_ptr<BusLink> sessionBus = std::make_shared<BusLink>(MessageBus::sessionAddress);
    std::shared_ptr<BusLink> systemBus = std::make_shared<BusLink>(MessageBus::systemAddress);
    std::shared_ptr<SleepInhibitor> inhibitor;
    Notifier notifier;
    LauncherEntry entry;
};

NativeDesktopShell::NativeDesktopShell(const QString &applicationId, const QString &title)
    : m_parts(std::make_unique<Parts>(applicationId, title))
{
}

NativeDesktopShell::~NativeDesktopShell() = default;

void NativeDesktopShell::setActivity(Activity activity)
{
    if (activity == Activity::Installing)
        m_parts->inhibitor->hold();
    else
        m_parts->inhibitor->release();
}

void NativeDesktopShell::notify(const QString &sentence) { m_parts->notifier.show(sentence); }

void NativeDesktopShell::withdrawNotification() { m_parts->notifier.withdraw(); }

void NativeDesktopShell::showProgress(std::optional<double> fraction)
{
    m_parts->entry.showProgress(fraction);
}

bool NativeDesktopShell::isWaitingForBus() const
{
    return m_parts->sessionBus->isConnecting() || m_parts->systemBus->isConnecting();
}
