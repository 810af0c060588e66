#include "host/quit_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace quillmoor::host {
namespace {

// The handler may only write a byte to this pipe; the event loop reads it as an event. The
// descriptors stay open until the process exits, as a signal can arrive until then.
std::array<int, 2> wake{-1, -1};

void actWith(void (*handler)(int), std::initializer_list<int> which) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    // The handlers block each other, so that a second signal finds what the first has set.
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) ::sigaddset(&action.sa_mask, signal);
    for (const int signal : which) ::sigaction(signal, &action, nullptr);
}

void passOn(int) {
    const int before = errno;  // of the code that the signal interrupted
    actWith(SIG_DFL, {SIGTERM, SIGINT});
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(wake[1], &byte, 1);
    errno = before;
}

}  // namespace

void quitOnSignals() {
    // Without the pipe the signals keep their default action. Not blocking: a handler must not wait
    // for room.
    if (::pipe2(wake.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* notifier =
        new QSocketNotifier(wake[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier] {
        notifier->setEnabled(false);
        // Unlike quit(), this does not close the window, which would ask the user.
        QCoreApplication::exit();
    });
    actWith(passOn, {SIGTERM, SIGINT, SIGHUP});
}

}  // namespace quillmoor::host
