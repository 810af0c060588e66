#include "platform/linux/rights/pseudo_terminal_linux.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <termios.h>

#include <algorithm>

#include "platform/posix/standard_streams_posix.h"

namespace quillmoor::platform::linux_::rights {
namespace {

using posix::Descriptor;

bool takeBytesAsTheyAre(int terminal) {
    termios settings{};
    if (::tcgetattr(terminal, &settings) != 0) return false;
    settings.c_iflag &= ~static_cast<tcflag_t>(ICRNL | INLCR | IGNCR | IXON | IXOFF | ISTRIP);
    settings.c_lflag &= ~static_cast<tcflag_t>(ISIG | IEXTEN);
    settings.c_lflag |= ICANON | ECHO;
    std::fill(std::begin(settings.c_cc), std::end(settings.c_cc),
              static_cast<cc_t>(_POSIX_VDISABLE));
    return ::tcsetattr(terminal, TCSANOW, &settings) == 0;
}

}  // namespace

std::optional<PseudoTerminal> PseudoTerminal::open() {
    Descriptor master =
        posix::aboveStandardStreams(Descriptor(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)));
    char name[PATH_MAX];
    if (!master || ::grantpt(master.get()) != 0 || ::unlockpt(master.get()) != 0 ||
        ::ptsname_r(master.get(), name, sizeof name) != 0)
        return std::nullopt;
    Descriptor slave =
        posix::aboveStandardStreams(Descriptor(::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC)));
    if (!slave || !takeBytesAsTheyAre(slave.get())) return std::nullopt;
    return PseudoTerminal(std::move(master), std::move(slave), name);
}

bool PseudoTerminal::echoes() const {
    termios settings{};
    return ::tcgetattr(slave_.get(), &settings) != 0 || (settings.c_lflag & ECHO) != 0;
}

}  // namespace quillmoor::platform::linux_::rights
