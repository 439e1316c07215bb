#include "Workspace.h"

#import <AppKit/AppKit.h>

class FileManagerQuestions { };

namespace {

/// Without QString::toNSURL() and the like, which only Qt on macOS has, so that compilers elsewhere can parse
/// this file.
NSURL *location(const QString &folder)
{
    return [NSURL fileURLWithPath:[NSString stringWithUTF8String:folder.toUtf8().constData()]];
}

void openInWorkspace(NSURL *address, const std::function<void()> &onFailure)
{
    if (![[NSWorkspace sharedWorkspace] openURL:address])
        onFailure();
}

}

DesktopWorkspace::DesktopWorkspace() = default;
DesktopWorkspace::~DesktopWorkspace() = default;

void DesktopWorkspace::reveal(const QString &folder, std::function<void()> /*onFailure*/)
{
    [[NSWorkspace sharedWorkspace] activateFileViewerSelectingURLs:@[ location(folder) ]];
}

void DesktopWorkspace::open(const QString &folder, std::function<void()> onFailure)
{
    openInWorkspace(location(folder), onFailure);
}

void DesktopWorkspace::browse(const QUrl &page, std::function<void()> onFailure)
{
    NSString *address = [NSString stringWithUTF8String:page.toEncoded().constData()];
    openInWorkspace([NSURL URLWithString:address], onFailure);
}

bool DesktopWorkspace::isWaitingForBus() const { return false; }
