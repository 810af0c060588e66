// The user at the screen: the active session of the first seat, as the login manager reports it.
#pragma once

#include <sys/types.h>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// The queries of the login manager, as in libsystemd: 0 or more is success, and strings are
// allocated with malloc. Neither entry is null.
struct LoginManager {
    int (*seatGetActive)(const char* seat, char** session, uid_t* user);
    int (*sessionGetClass)(const char* session, char** sessionClass);
};

// This system's login manager; its library is loaded on the first call. Null where there is none.
const LoginManager* loginManager();

// The user's short name, "loginwindow" while the login screen or a lock screen is shown; nil when
// no user is logged in at the screen, and without a login manager.
OptionalString consoleUser(const LoginManager* manager);

}  // namespace quillmoor::platform::linux_
