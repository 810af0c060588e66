// The library for Objective-C and Swift: everything that a product may use.
#import "KXAuthorization.h"
#import "KXDefines.h"
#import "KXException.h"
#import "KXFileManager.h"
#import "KXLocalPaths.h"
#import "KXLog.h"
#import "KXPlatformTypes.h"
#import "KXTaskEx.h"
