#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/file_operations_posix.h"

namespace quillmoor::platform {

FileOperations* nativeFileOperations() {
    return posix::sharedFileOperations();
}

}  // namespace quillmoor::platform
