// Open files and pipes.
#pragma once

#include <cstddef>
#include <cstdint>
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
// when the system reports an error, and after closeFile. May be used from any thread; the order in
// which concurrent calls read or write is not specified. closeFile ends a read that is in progress
// on another thread, which then throws.
class FileHandle {
  public:
    virtual ~FileHandle() = default;

    // Writes all of `bytes`, in one system call where the system takes them whole. Waits while a
    // pipe is full. Throws WriteFailure when the system reports an error.
    virtual void writeData(std::string_view bytes) = 0;

    // Returns the offset of the end.
    virtual std::uint64_t seekToEndOfFile() = 0;

    // From now on each write goes to the end of the file, also after other writers have extended
    // it: data that two writers write in one system call each does not mix. No effect on a pipe.
    virtual void writeAtEndOnly() {}

    // `availableData`: waits until bytes are available and appends them to `buffer`. Returns their
    // number, 0 only at the end of the stream. Lack of memory is reported as ENOMEM.
    virtual std::size_t readAvailableData(ByteBuffer& buffer) = 0;

    // Closes the descriptor once no call uses it. Further calls have no effect.
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

    // `fileHandleForWritingAtPath:`: at offset 0 of an existing file, whose contents are kept; null
    // when it cannot be opened. Never creates the file and never waits for a pipe's reader.
    virtual std::shared_ptr<FileHandle> openForWriting(const std::string& path) = 0;

    // True when the file's last byte is not a newline, or cannot be read. False for an empty or
    // missing file and for an item that is not a regular file.
    virtual bool endsWithinLine(const std::string& path) = 0;

    // `fileHandleWithNullDevice`.
    virtual std::shared_ptr<FileHandle> nullDevice() = 0;

    // Both ends are close-on-exec. Throws when the process has no descriptors left.
    virtual Pipe makePipe() = 0;
};

}  // namespace quillmoor::platform
