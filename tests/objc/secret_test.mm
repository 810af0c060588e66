#include "objc/secret.h"

#include <unistd.h>

#if defined(__linux__)
#include <malloc.h>
#else
#include <malloc/malloc.h>
#endif

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#import "objc/KXAuthorization.h"
#include "quillmoor/platform/platform.h"
#include "tests/objc/objc_support.h"
#include "tests/support/forwarding.h"

namespace {

// What no memory that a thread releases may contain.
struct Watch {
    std::vector<std::string> needles;
    int found = 0;
};
thread_local Watch* watch = nullptr;

std::size_t sizeOf(void* memory) {
#if defined(__linux__)
    return ::malloc_usable_size(memory);
#else
    return ::malloc_size(memory);
#endif
}

void inspectAndFree(void* memory) {
    if (watch != nullptr && memory != nullptr)
        for (const std::string& needle : watch->needles)
            if (::memmem(memory, sizeOf(memory), needle.data(), needle.size()) != nullptr)
                ++watch->found;
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    inspectAndFree(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    inspectAndFree(memory);
}

namespace quillmoor::test {
namespace {

// Longer than what a string has room for without memory of its own.
NSString* const kPassword = @"correct h\u00F6rse battery staple \u20AC \u20AC \u20AC";

class Watched {
  public:
    Watched() {
        const std::u16string_view units = u"attery stapl";
        watch_.needles = {"attery stapl", std::string(reinterpret_cast<const char*>(units.data()),
                                                      2 * units.size())};
        watch = &watch_;
    }
    ~Watched() { watch = nullptr; }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    int found() const { return watch_.found; }

  private:
    Watch watch_;
};

// Grants rights, and keeps nothing.
class Granting : public ForwardingAuthorization {
  public:
    std::size_t length = 0;
    platform::AuthorizationStatus create(const platform::AuthorizationItemSet&,
                                         const platform::AuthorizationItemSet& environment,
                                         platform::AuthorizationFlags,
                                         platform::AuthorizationRef&) override {
        length = environment->at(1).value->size();
        return 0;
    }
    platform::AuthorizationStatus copyRights(platform::AuthorizationRef,
                                             const platform::AuthorizationItemSet&,
                                             const platform::AuthorizationItemSet&,
                                             platform::AuthorizationFlags) override {
        return 0;
    }
    platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationFlags,
                                                          platform::AuthorizationRef&) override {
        return platform::kAuthorizationDenied;
    }
};

}  // namespace

TEST(ObjcSecret, IsTheTextAsUtf8) {
    EXPECT_EQ(objc::Secret(nil).text(), std::nullopt);
    EXPECT_EQ(objc::Secret(@"").text(), "");
    EXPECT_EQ(objc::Secret(@"p\u00E4ss").text(), "p\xC3\xA4ss");
}

TEST(ObjcSecret, IsNoLongerInMemory) {
    const std::string copy = objc::Secret(kPassword).text().value();
    Watched watched;
    objc::Secret{kPassword};
    EXPECT_EQ(watched.found(), 0);
    // What is not erased is found.
    delete new std::string(copy);
    EXPECT_GT(watched.found(), 0);
}

TEST(ObjcSecret, IsErasedByTheSession) {
    ScopedPlatform platform;
    Granting authorization;
    platform->authorization = &authorization;
    KXAuthorization* session = [KXAuthorization sharedController];
    Watched watched;
    // As root nothing is asked.
    EXPECT_TRUE([session authStartWithUser:@"alice" password:kPassword]);
    EXPECT_EQ(watched.found(), 0);
    if (::getuid() != 0) EXPECT_GT(authorization.length, 30U);
}

}  // namespace quillmoor::test
