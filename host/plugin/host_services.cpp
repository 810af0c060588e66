#include "host/plugin/host_services.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

namespace quillmoor::host {
namespace {

HostServices& self(void* context) {
    return *static_cast<HostServices*>(context);
}

}  // namespace

HostServices& HostServices::shared() {
    static auto* services = new HostServices;  // not destroyed at exit
    return *services;
}

// The table's functions are called from C: an exception must not leave them.
HostServices::HostServices() : table_{} {
    table_.version = INSTALLER_PLUGIN_VERSION;
    table_.context = this;
    table_.is_main_thread = [](void* context) noexcept -> int {
        return self(context).isMainThread() ? 1 : 0;
    };
    table_.watch_descriptor = [](void* context, int descriptor, void (*drain)(void*),
                                 void* user) noexcept {
        self(context).watchDescriptor(descriptor, drain, user);
    };
    table_.send_next_event = [](void* context, int milliseconds) noexcept -> int {
        return self(context).sendNextEvent(milliseconds) ? 1 : 0;
    };
    table_.observe_termination = [](void* context, void (*callback)(void*), void* user) noexcept {
        self(context).observeTermination(callback, user);
    };
}

// The application's thread, which need not be the one that asks first.
bool HostServices::isMainThread() const {
    const QCoreApplication* application = QCoreApplication::instance();
    return application != nullptr && QThread::currentThread() == application->thread();
}

// Without an application there is no event loop that could run it: it is dropped.
void HostServices::onMainThread(std::function<void()> function) const {
    if (isMainThread()) return function();
    if (QCoreApplication* application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(function), Qt::QueuedConnection);
}

void HostServices::watchDescriptor(int descriptor, void (*drain)(void*), void* user) const {
    if (descriptor < 0 || drain == nullptr) return;
    // Notifiers belong to the thread whose event loop serves them.
    onMainThread([=] {
        QCoreApplication* application = QCoreApplication::instance();
        if (application == nullptr) return;
        auto* notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, application);
        QObject::connect(notifier, &QSocketNotifier::activated, application,
                         [drain, user] { drain(user); });
    });
}

bool HostServices::sendNextEvent(int milliseconds) const {
    QAbstractEventDispatcher* events = isMainThread() && QCoreApplication::instance() != nullptr
                                           ? QAbstractEventDispatcher::instance()
                                           : nullptr;
    if (events == nullptr) return false;
    // Pending events first: they need no timer.
    if (events->processEvents(QEventLoop::AllEvents)) return true;
    if (milliseconds <= 0) return false;

    // The timer's own event ends the wait, but is not an event that counts.
    bool late = false;
    QTimer timer;
    // The usual timer may be late by a twentieth.
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, [&late] { late = true; });
    timer.start(milliseconds);
    // The dispatcher also returns when it was only woken.
    while (!late)
        if (events->processEvents(QEventLoop::WaitForMoreEvents) && !late) return true;
    return false;
}

void HostServices::observeTermination(void (*callback)(void*), void* user) {
    if (callback == nullptr) return;
    const std::lock_guard lock(mutex_);
    observers_.push_back({callback, user});
}

void HostServices::terminate() {
    // Called without the lock: a plug-in may call back from its observer.
    std::vector<Observer> observers;
    {
        const std::lock_guard lock(mutex_);
        if (terminated_) return;
        terminated_ = true;
        observers.swap(observers_);
    }
    for (const Observer& each : observers) each.callback(each.user);
}

}  // namespace quillmoor::host
