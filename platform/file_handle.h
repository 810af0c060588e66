// Open files and pipes.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "quillmoor/platform/byte_buffer.h"
#include "quillmoor/platform/exception.h"

namespace quillmoor::platform {

// What writeData throws when the system refuses a write that was begun: the first `written` bytes
// are in the file.
class WriteFailure : public Exception {
  public:
    WriteFailure(std::string reason, std::size_t written)
        : Exception(kFileHandleOperationException, std::move(reason)), written_(written) {}

    std::size_t written() const { return written_; }

  private:
    std::size_t written_;
};

// One open file or pipe end. Calls throw platform::Exception named kFileHandleOperationException
// when the system refuses, and after closeFile. Any thread may call closeFile: it ends a read that
// is under way. Calls from several threads do not disturb each other, but which gets what is not
// said.
class FileHandle {
  public:
    virtual ~FileHandle() = default;

    // Writes all of it, in one system call where the system takes it whole. Throws WriteFailure
    // when the system refuses.
    virtual void writeData(std::string_view bytes) = 0;

    virtual void seekToEndOfFile() = 0;

    // From now on each write goes to the end of the file, wherever other writers have moved it:
    // what two of them write in one system call each is whole. What is not a file is left as it is.
    virtual void writeAtEndOnly() {}

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

    // The file's last byte is not a newline, or cannot be read. NO for an empty file, for what is
    // not a file, and where nothing is.
    virtual bool endsWithinLine(const std::string& path) = 0;

    // `fileHandleWithNullDevice`.
    virtual std::shared_ptr<FileHandle> nullDevice() = 0;

    // Throws when the process has no descriptors left.
    virtual Pipe makePipe() = 0;
};

}  // namespace quillmoor::platform
