// Declarations that GNUstep's headers lack, so that our Objective-C++ can be parsed without a Mac.

#import <AppKit/AppKit.h>

@interface NSWorkspace (MacOSX10_6)
- (void)activateFileViewerSelectingURLs:(NSArray *)fileURLs;
@end

@interface NSApplication (MacOSX10_5)
- (NSDockTile *)dockTile;
@end
