// A plug-in for tests. It records every call in the file that INSTALLER_TEST_RECORD names. Its pane
// classes differ in what they do when they are entered and left.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <thread>

#include "quillmoor/pane/installer_plugin.h"

namespace {

const installer_host_services* services = nullptr;
std::array<int, 2> wake{-1, -1};

void record(const std::string& text) {
    const char* path = std::getenv("INSTALLER_TEST_RECORD");
    if (path == nullptr) return;
    std::FILE* file = std::fopen(path, "ae");
    if (file == nullptr) return;
    std::fputs((text + "\n").c_str(), file);
    std::fclose(file);
}

void drained(void*) {
    char byte = 0;
    if (::read(wake[0], &byte, 1) == 1)
        record(services->is_main_thread(services->context) != 0 ? "drained on the main thread"
                                                                : "drained elsewhere");
}

struct Pane {
    std::string className;
    installer_pane_host host;
    std::map<std::string, installer_control> outlets;

    void goNext() const { host.goto_next_pane(host.context); }
    void goPrevious() const { host.goto_previous_pane(host.context); }
};

Pane& self(void* context) {
    return *static_cast<Pane*>(context);
}

// Panes are called on the main thread only.
void expectMainThread(const char* call) {
    if (services->is_main_thread(services->context) == 0) record(std::string(call) + " elsewhere");
}

const char* title(void* context) {
    expectMainThread("title");
    if (self(context).className == "TellsOfItsTitle") record("title");
    if (self(context).className == "Untitled") return nullptr;
    return self(context).className.c_str();
}

void showAll(const Pane& pane) {
    for (const char* name : {"titleText", "descriptionText", "uninstallBtn"}) {
        const auto outlet = pane.outlets.find(name);
        if (outlet != pane.outlets.end()) outlet->second.set_hidden(outlet->second.context, 0);
    }
}

// Long enough for all events that are pending.
void pump() {
    for (int i = 0; i < 5; ++i) services->send_next_event(services->context, 2);
}

void didEnter(void* context, int direction) {
    expectMainThread("entered");
    const Pane& pane = self(context);
    record(pane.className + " entered " + std::to_string(direction));
    if (pane.className == "PassesOver") {
        direction == INSTALLER_DIRECTION_BACKWARD ? pane.goPrevious() : pane.goNext();
        return;
    }
    if (pane.className == "AlwaysNext") return pane.goNext();
    if (pane.className == "AlwaysPrevious") return pane.goPrevious();
    if (pane.className == "Pumps") pump();
    if (pane.className == "Hangs")
        for (;;) ::pause();
    showAll(pane);
}

int shouldExit(void* context, int direction) {
    expectMainThread("asked");
    const Pane& pane = self(context);
    record(pane.className + " asked " + std::to_string(direction));
    if (pane.className == "RefusesAndGoes") pane.goNext();
    return pane.className == "Refuses" || pane.className == "RefusesAndGoes" ? 0 : 1;
}

int setOutlet(void* context, const char* name, const installer_control* control) {
    Pane& pane = self(context);
    record(pane.className + " outlet " + name);
    pane.outlets[name] = *control;
    return 1;
}

int performAction(void* context, const char* name, const installer_control* sender) {
    expectMainThread("action");
    const Pane& pane = self(context);
    const std::string_view action = name;
    record(pane.className + " action " + name);
    if (action == "uninstall:") return 1;
    if (action == "next:") return pane.goNext(), 1;
    if (action == "hide:") return sender->set_hidden(sender->context, 1), 1;
    if (action == "pump:") return pump(), 1;
    if (action == "wake:") return ::write(wake[1], "!", 1) == 1 ? 1 : 0;
    if (action == "thread:") {
        std::thread([] {
            record(services->is_main_thread(services->context) != 0 ? "thread is main"
                                                                    : "thread is not main");
        }).join();
        return 1;
    }
    return 0;
}

void destroy(void* context) {
    record(self(context).className + " destroyed");
    // A control whose widget was destroyed does nothing.
    showAll(self(context));
    delete &self(context);
}

}  // namespace

int installer_plugin_attach(const installer_host_services* hostServices) {
    record("attached " + std::to_string(hostServices->version));
    if (std::getenv("INSTALLER_TEST_REFUSE") != nullptr) return 0;
    services = hostServices;
    if (::pipe(wake.data()) == 0)
        services->watch_descriptor(services->context, wake[0], drained, nullptr);
    services->observe_termination(
        services->context, [](void*) { record("terminating"); }, nullptr);
    return 1;
}

int installer_plugin_create_pane(const char* className, const installer_pane_host* host,
                                 installer_pane* pane) {
    record(std::string("created ") + className);
    if (std::string_view(className) == "Unknown") return 0;
    *pane = {new Pane{className, *host, {}},
             title,
             didEnter,
             shouldExit,
             setOutlet,
             performAction,
             destroy};
    if (std::string_view(className) == "Incomplete") pane->did_enter_pane = nullptr;
    return 1;
}
