// Types of the system that the classes take and return. Where the system has none of that name they
// are records of the library's own: opaque, and passed on unchanged.
#import <Foundation/Foundation.h>

#if defined(__APPLE__)
#import <CoreServices/CoreServices.h>
#import <Security/Authorization.h>
#else

typedef int OSStatus;

// Names an item that existed when the reference was made. A plain value.
typedef struct FSRef {
    unsigned long long hidden[514];
} FSRef;

// A copy in the background.
typedef struct __FSFileOperation* FSFileOperationRef;

// A session with or without administrator rights.
typedef const struct AuthorizationOpaqueRef* AuthorizationRef;

#endif
