// What the host does for its plug-ins: its event loop, its main thread, its end.
#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "quillmoor/pane/installer_plugin.h"

namespace quillmoor::host {

// One for the process, never destroyed, because plug-ins and their threads stay until the very end.
class HostServices {
  public:
    // Made by the first call, with an application object.
    static HostServices& shared();

    const installer_host_services& table() const { return table_; }

    bool isMainThread() const;

    // Runs `function` on the main thread: at once when called there, else by the event loop.
    void onMainThread(std::function<void()> function) const;

    void watchDescriptor(int descriptor, void (*drain)(void*), void* user) const;
    bool sendNextEvent(int milliseconds) const;
    void observeTermination(void (*callback)(void*), void* user);

    // Tells every observer once, on the main thread, while the application still lives. Further
    // calls do nothing; who observes afterwards is never told.
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
