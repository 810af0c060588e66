// Who sits at the computer: the active session of the first seat, as the login manager sees it.
#pragma once

#include <sys/types.h>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// What is asked of the login manager, with the calls and the answers of libsystemd: 0 and more is
// success, strings are malloc's. Both entries are there.
struct LoginManager {
    int (*seatGetActive)(const char* seat, char** session, uid_t* user);
    int (*sessionGetClass)(const char* session, char** sessionClass);
};

// This system's own, its library loaded on the first call; null where there is none.
const LoginManager* loginManager();

// The user's short name, "loginwindow" while a greeter has the screen, nil when nobody has. Without
// a login manager nobody has.
OptionalString consoleUser(const LoginManager* manager);

}  // namespace quillmoor::platform::linux_
