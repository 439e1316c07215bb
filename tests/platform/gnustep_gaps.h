// What macOS has and GNUstep's headers lack, for reading our Objective-C++ where there is no Mac.

#import <AppKit/AppKit.h>

@interface NSWorkspace (MacOSX10_6)
- (void)activateFileViewerSelectingURLs:(NSArray *)fileURLs;
@end
