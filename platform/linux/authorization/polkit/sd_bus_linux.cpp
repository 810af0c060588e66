#include "quillmoor/platform/linux/authorization/polkit/sd_bus_linux.h"

#include <dlfcn.h>

namespace quillmoor::platform::linux_::authorization {
namespace {

constexpr char kLibrary[] = "libsystemd.so.0";

// Looks the functions up and records whether one is missing. A library that lacks a function, such
// as an older one, is not used at all.
class Loader {
  public:
    explicit Loader(void* library) : library_(library) {}

    template <class Function>
    void operator()(const char* name, Function& function) {
        function = reinterpret_cast<Function>(::dlsym(library_, name));
        if (function == nullptr) isComplete_ = false;
    }
    bool isComplete() const { return isComplete_; }

  private:
    void* library_;
    bool isComplete_ = true;
};

bool loadAll(void* library, SdBus& bus) {
    Loader load(library);
    load("sd_bus_new", bus.create);
    load("sd_bus_set_address", bus.setAddress);
    load("sd_bus_set_bus_client", bus.setBusClient);
    load("sd_bus_start", bus.start);
    load("sd_bus_close", bus.close);
    load("sd_bus_unref", bus.unref);
    load("sd_bus_get_fd", bus.getFd);
    load("sd_bus_get_events", bus.getEvents);
    load("sd_bus_process", bus.process);
    load("sd_bus_send", bus.send);
    load("sd_bus_message_new_method_call", bus.newMethodCall);
    load("sd_bus_reply_method_return", bus.replyMethodReturn);
    load("sd_bus_reply_method_errorf", bus.replyMethodError);
    load("sd_bus_message_append", bus.append);
    load("sd_bus_message_read", bus.read);
    load("sd_bus_message_skip", bus.skip);
    load("sd_bus_message_enter_container", bus.enterContainer);
    load("sd_bus_message_exit_container", bus.exitContainer);
    load("sd_bus_message_get_sender", bus.getSender);
    load("sd_bus_message_get_reply_cookie", bus.getReplyCookie);
    load("sd_bus_message_is_method_call", bus.isMethodCall);
    load("sd_bus_message_is_method_error", bus.isMethodError);
    load("sd_bus_message_is_signal", bus.isSignal);
    load("sd_bus_message_unref", bus.unrefMessage);
    return load.isComplete();
}

const SdBus* loadBus() {
    // Never closed: the table is used until the process exits.
    void* const library = ::dlopen(kLibrary, RTLD_LAZY | RTLD_LOCAL);
    static SdBus bus{};
    return library != nullptr && loadAll(library, bus) ? &bus : nullptr;
}

}  // namespace

const SdBus* sdBus() {
    static const SdBus* const bus = loadBus();
    return bus;
}

}  // namespace quillmoor::platform::linux_::authorization
