#include "objc/file_handles.h"

#include <algorithm>
#include <utility>

#include "objc/bridge.h"
#include "objc/wrappers.h"

using namespace quillmoor::objc;
using quillmoor::platform::ByteBuffer;
using quillmoor::platform::FileHandle;

@interface KXLibraryFileHandle : NSFileHandle {
  @public
    std::shared_ptr<FileHandle> _handle;
}
@end

namespace {

Wrappers& wrappers() {
    static auto* const wrappers = new Wrappers;
    return *wrappers;
}

// A handle that a caller has made.
class AdoptedFileHandle : public FileHandle {
  public:
    explicit AdoptedFileHandle(NSFileHandle* handle) : object_(toObject(handle)) {}

    NSFileHandle* handle() const { return static_cast<NSFileHandle*>(object_.get()); }

    void writeData(std::string_view bytes) override {
        throwing(
            [&] { [handle() writeData:[NSData dataWithBytes:bytes.data() length:bytes.size()]]; });
    }
    std::uint64_t seekToEndOfFile() override {
        return throwing([&] { return std::uint64_t{[handle() seekToEndOfFile]}; });
    }
    std::size_t readAvailableData(ByteBuffer& buffer) override {
        quillmoor::Data data;
        throwing([&] { data = toData([handle() availableData]); });
        std::copy(data.bytes(), data.bytes() + data.size(), buffer.reserveMore(data.size()));
        buffer.addFilled(data.size());
        return data.size();
    }
    void closeFile() override {
        throwing([&] { [handle() closeFile]; });
    }

  private:
    std::shared_ptr<void> object_;
};

}  // namespace

@implementation KXLibraryFileHandle

- (void)writeData:(NSData*)data {
    raising([&] { _handle->writeData(toData(data).view()); });
}

- (NSData*)availableData {
    return raising([&] {
        ByteBuffer buffer;
        _handle->readAvailableData(buffer);
        return fromData(buffer.takeData());
    });
}

- (unsigned long long)seekToEndOfFile {
    return raising([&] { return _handle->seekToEndOfFile(); });
}

- (void)closeFile {
    raising([&] { _handle->closeFile(); });
}

- (oneway void)release {
    const auto guard = wrappers().beginRelease(self, _handle.get());
    [super release];
}

@end

namespace quillmoor::objc {

NSFileHandle* fromFileHandle(const std::shared_ptr<FileHandle>& handle) {
    if (handle == nullptr) return nil;
    if (const auto* adopted = dynamic_cast<AdoptedFileHandle*>(handle.get()))
        return [[adopted->handle() retain] autorelease];
    return wrappers().wrapperOf(handle.get(), [&] {
        auto* wrapper = static_cast<KXLibraryFileHandle*>(
            NSAllocateObject([KXLibraryFileHandle class], 0, nullptr));
        wrapper->_handle = handle;
        return wrapper;
    });
}

std::shared_ptr<FileHandle> toFileHandle(NSFileHandle* handle) {
    if (handle == nil) return nullptr;
    if ([handle isKindOfClass:[KXLibraryFileHandle class]])
        return static_cast<KXLibraryFileHandle*>(handle)->_handle;
    return std::make_shared<AdoptedFileHandle>(handle);
}

}  // namespace quillmoor::objc
