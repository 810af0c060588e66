#include "quillmoor/platform/linux/authorization/launch/launch_programs_linux.h"

#include <stdlib.h>
#include <sys/prctl.h>

#include "quillmoor/platform/linux/ground/programs_linux.h"

namespace quillmoor::platform::linux_::authorization {

OptionalPath systemProgram(const std::string& name) {
    for (const char* folder : {"/usr/bin/", "/bin/", "/run/wrappers/bin/"}) {
        std::string path = folder + name;
        // The path as it is, not its canonical form: a program may act by the name it was called
        // by.
        if (isProgram(path) && trustedProgram(path)) return path;
    }
    return std::nullopt;
}

// The setuid bits of pkexec, sudo and su have no effect then.
bool isConfined() {
    return ::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1;
}

Environment plainEnvironment() {
    // LC_ALL, since messages that are looked for must not be translated.
    return {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}, {"LC_ALL", "C"}};
}

Environment userEnvironment() {
    Environment environment = plainEnvironment();
    environment.erase("LC_ALL");
    for (const char* name : {"LANG", "LANGUAGE", "LC_ALL", "LC_CTYPE", "LC_MESSAGES", "TERM"})
        if (const char* value = ::secure_getenv(name)) environment.emplace(name, value);
    return environment;
}

}  // namespace quillmoor::platform::linux_::authorization
