// The host's services for its plug-ins: event loop, main thread, notice of its end.
#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "quillmoor/pane/installer_plugin.h"

namespace quillmoor::host {

// One for the process. Never destroyed, because plug-ins and their threads use it until the process
// exits.
class HostServices {
  public:
    // Created by the first call, which needs an application object.
    static HostServices& shared();

    const installer_host_services& table() const { return table_; }

    bool isMainThread() const;

    // Runs `function` on the main thread: immediately if called there, else by the event loop.
    void onMainThread(std::function<void()> function) const;

    void watchDescriptor(int descriptor, void (*drain)(void*), void* user) const;
    bool sendNextEvent(int milliseconds) const;
    void observeTermination(void (*callback)(void*), void* user);

    // Notifies every observer once, on the main thread, while the application object still exists.
    // Further calls do nothing; observers that are added afterwards are not notified.
    void terminate();

  private:
    HostServices();

    struct Observer {
        void (*callback)(void*);
        void* user;
    };

    installer_host_services table_;
    std::mutex mutex_;
    std::vector<Observer> observers_;
    bool terminated_ = false;
};

}  // namespace quillmoor::host
