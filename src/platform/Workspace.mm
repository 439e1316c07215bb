#include "Workspace.h"

#import <AppKit/AppKit.h>

void DesktopWorkspace::reveal(const QString &folder)
{
    [NSWorkspace.sharedWorkspace
        activateFileViewerSelectingURLs:@[ [NSURL fileURLWithPath:folder.toNSString()] ]];
}

void DesktopWorkspace::open(const QString &folder)
{
    [NSWorkspace.sharedWorkspace openURL:[NSURL fileURLWithPath:folder.toNSString()]];
}
