#import "objc/KXFileManager.h"

#include "objc/bridge.h"
#include "objc/file_operations.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;

@implementation KXFileManager (CopyingInTheBackground)

+ (BOOL)copyFileWithProgress:(NSString*)path
                 destination:(NSString*)destination
                    delegate:(id)delegate
                      object:(id)object {
    return guarded(__func__, NO, [&] {
        return Files::copyFileWithProgress(toString(path), toString(destination),
                                           toDelegate(delegate), toObject(object));
    });
}

+ (BOOL)copyFileWithProgress:(NSString*)path
                 destination:(NSString*)destination
                    delegate:(id)delegate
                      object:(id)object
                      object:(id)object2 {
    return guarded(__func__, NO, [&] {
        return Files::copyFileWithProgress(toString(path), toString(destination),
                                           toDelegate(delegate), toObject(object),
                                           toObject(object2));
    });
}

+ (void)cancelFileOperation:(FSFileOperationRef)operation {
    perform(__func__, [&] { Files::cancelFileOperation(toOperation(operation)); });
}

@end
