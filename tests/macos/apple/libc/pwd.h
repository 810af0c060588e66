// What <pwd.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

struct passwd {
    char* pw_name;
    char* pw_passwd;
    uid_t pw_uid;
    gid_t pw_gid;
    time_t pw_change;
    char* pw_class;
    char* pw_gecos;
    char* pw_dir;
    char* pw_shell;
    time_t pw_expire;
};

KX_BEGIN
int getpwnam_r(const char* name, struct passwd* entry, char* buffer, size_t size,
               struct passwd** result);
int getpwuid_r(uid_t user, struct passwd* entry, char* buffer, size_t size, struct passwd** result);
KX_END
