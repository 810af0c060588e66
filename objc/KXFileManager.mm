#import "objc/KXFileManager.h"

@implementation KXFileManager
@end
