// Open files and pipes.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/byte_buffer.h"

namespace quillmoor::platform {

// One open file or pipe end. Calls throw platform::Exception named kFileHandleOperationException
// when the system refuses, and after closeFile. Any thread may call closeFile: it ends a read that
// is under way. Calls from several threads do not disturb each other, but which gets what is not
// said.
class FileHandle {
  public:
    virtual ~FileHandle() = default;

    // Writes all of it, in one system call where the system takes it whole.
    virtual void writeData(std::string_view bytes) = 0;

    virtual void seekToEndOfFile() = 0;

    // `availableData`: waits until some bytes are there and appends them to `buffer`. Answers their
    // number, 0 only at the end of the stream.
    virtual std::size_t readAvailableData(ByteBuffer& buffer) = 0;

    // Idempotent.
    virtual void closeFile() = 0;
};

struct Pipe {
    std::shared_ptr<FileHandle> reading;
    std::shared_ptr<FileHandle> writing;
};

// Makes handles. May be called from any thread.
class FileHandles {
  public:
    virtual ~FileHandles() = default;

    // `fileHandleForWritingAtPath:`: at offset 0 of an existing file; null when it cannot be
    // opened. Never creates the file.
    virtual std::shared_ptr<FileHandle> openForWriting(const std::string& path) = 0;

    // `fileHandleWithNullDevice`.
    virtual std::shared_ptr<FileHandle> nullDevice() = 0;

    // Throws when the process has no descriptors left.
    virtual Pipe makePipe() = 0;
};

}  // namespace quillmoor::platform
