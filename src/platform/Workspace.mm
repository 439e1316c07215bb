#include "Workspace.h"

#import <AppKit/AppKit.h>

namespace {

/// Not QString::toNSURL and its like, which only Qt on a Mac has, so that a compiler elsewhere can read this
/// file.
NSURL *location(const QString &folder)
{
    return [NSURL fileURLWithPath:[NSString stringWithUTF8String:folder.toUtf8().constData()]];
}

}

void DesktopWorkspace::reveal(const QString &folder)
{
    [[NSWorkspace sharedWorkspace] activateFileViewerSelectingURLs:@[ location(folder) ]];
}

void DesktopWorkspace::open(const QString &folder)
{
    [[NSWorkspace sharedWorkspace] openURL:location(folder)];
}
