#include "DesktopShell.h"

#import <AppKit/AppKit.h>

#include <cmath>

struct NativeDesktopShell::Parts {
    Activity activity = Activity::None;
    /// What the system returned for the activity; null while there is none.
    id token = nil;
};

namespace {

/// Without QString::toNSString() and the like, which only Qt on macOS has, so that compilers elsewhere can
/// parse this file.
NSString *text(const QString &string) { return [NSString stringWithUTF8String:string.toUtf8().constData()]; }

}

NativeDesktopShell::NativeDesktopShell(const QString & /*applicationId*/, const QString & /*title*/)
    : m_parts(std::make_unique<Parts>())
{
}

NativeDesktopShell::~NativeDesktopShell()
{
    setActivity(Activity::None);
    showProgress(std::nullopt);
}

void NativeDesktopShell::setActivity(Activity activity)
{
    if (activity == m_parts->activity)
        return;
    m_parts->activity = activity;
    NSProcessInfo *process = [NSProcessInfo processInfo];
    if (m_parts->token)
        [process endActivity:m_parts->token];
    m_parts->token = nil;
    switch (activity) {
    case Activity::None:
        break;
    case Activity::Installing:
        m_parts->token = [process beginActivityWithOptions:NSActivityUserInitiated
                                                    reason:@"Downloading and setting up the game"];
        break;
    case Activity::GameRunning:
        m_parts->token = [process beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                                                    reason:@"Reading what the game prints"];
        break;
    }
}

void NativeDesktopShell::notify(const QString & /*sentence*/) { }

void NativeDesktopShell::withdrawNotification() { }

void NativeDesktopShell::showProgress(std::optional<double> fraction)
{
    NSString *badge = nil;
    if (fraction)
        badge = text(QStringLiteral("%1 %").arg(std::lround(*fraction * 100)));
    NSDockTile *tile = [NSApp dockTile];
    NSString *shown = [tile badgeLabel];
    if (badge != shown && ![badge isEqualToString:shown])
        [tile setBadgeLabel:badge];
}

bool NativeDesktopShell::isWaitingForBus() const { return false; }
