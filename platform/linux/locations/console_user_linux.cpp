#include "quillmoor/platform/linux/locations/console_user_linux.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <memory>
#include <optional>
#include <string_view>

#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

constexpr char kSeat[] = "seat0";

struct Free {
    void operator()(char* text) const { ::free(text); }
};
using AllocatedText = std::unique_ptr<char, Free>;

// Loaded and not linked, since systems without systemd lack it. Never unloaded.
const LoginManager* loadLoginManager() {
    void* library = ::dlopen("libsystemd.so.0", RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) return nullptr;
    static LoginManager manager;
    manager.seatGetActive =
        reinterpret_cast<decltype(manager.seatGetActive)>(::dlsym(library, "sd_seat_get_active"));
    manager.sessionGetClass = reinterpret_cast<decltype(manager.sessionGetClass)>(
        ::dlsym(library, "sd_session_get_class"));
    return manager.seatGetActive != nullptr && manager.sessionGetClass != nullptr ? &manager
                                                                                  : nullptr;
}

}  // namespace

const LoginManager* loginManager() {
    static const LoginManager* const manager = loadLoginManager();
    return manager;
}

OptionalString consoleUser(const LoginManager* manager) {
    if (manager == nullptr) return std::nullopt;
    char* text = nullptr;
    uid_t id = 0;
    // Reads what the login manager has recorded below /run/systemd and needs no message bus.
    const int active = manager->seatGetActive(kSeat, &text, &id);
    const AllocatedText session(text);
    if (active < 0 || session == nullptr) return std::nullopt;

    text = nullptr;
    const int classified = manager->sessionGetClass(session.get(), &text);
    const AllocatedText sessionClass(text);
    // A session that ended between the two calls has no class.
    if (classified < 0 || sessionClass == nullptr) return std::nullopt;
    const std::string_view kind(sessionClass.get());
    // At the login screen the active session is that of the display manager's account, not of a
    // person.
    if (kind == "greeter" || kind == "lock-screen") return "loginwindow";

    const std::optional<posix::User> user = posix::userWithId(id);
    return user ? OptionalString(user->name) : std::nullopt;
}

}  // namespace quillmoor::platform::linux_
