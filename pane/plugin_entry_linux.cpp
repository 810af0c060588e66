// The two functions that installer-host finds in the plug-in, and the pane behind them.
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <utility>

#include "quillmoor/pane/RK_MessageViewPane.h"
#include "quillmoor/pane/installer_plugin.h"
#include "quillmoor/platform/posix/run_loop/host_services_posix.h"

namespace quillmoor {
namespace {

// No exception may cross the boundary of plain C: a call that fails returns `otherwise`.
template <typename Result, typename Function>
Result guarded(Result otherwise, Function function) noexcept {
    try {
        return function();
    } catch (...) {
        return otherwise;
    }
}

// An interface element of the host. The struct is copied: the host's own is valid during the call.
class HostControl : public Control {
  public:
    explicit HostControl(const installer_control& control) : control_(control) {}
    void setHidden(bool hidden) override { control_.set_hidden(control_.context, hidden ? 1 : 0); }

  private:
    installer_control control_;
};

// The host's navigation. The struct is copied: the host's own is valid during the call only.
class HostNavigation : public PaneNavigation {
  public:
    explicit HostNavigation(const installer_pane_host& host) : host_(host) {}
    void gotoNextPane() override { host_.goto_next_pane(host_.context); }
    void gotoPreviousPane() override { host_.goto_previous_pane(host_.context); }

  private:
    installer_pane_host host_;
};

// A pane with its navigation, its outlets and the string that it has returned last.
class PluginPane {
  public:
    explicit PluginPane(const installer_pane_host& host) : navigation_(host), pane_(navigation_) {}

    const char* title() {
        title_ = pane_.title();
        return title_.c_str();
    }
    RK_MessageViewPane& pane() { return pane_; }

    bool setOutlet(const std::string& name, const installer_control& control) {
        // The pane does not own its outlets; this object does.
        const auto join = [&](Control*& outlet, std::unique_ptr<HostControl>& owner) {
            owner = std::make_unique<HostControl>(control);
            outlet = owner.get();
            return true;
        };
        if (name == "titleText") return join(pane_.titleText, titleText_);
        if (name == "descriptionText") return join(pane_.descriptionText, descriptionText_);
        if (name == "uninstallBtn") return join(pane_.uninstallBtn, uninstallBtn_);
        return false;
    }

    bool performAction(const std::string& name, const installer_control* sender) {
        if (name != "uninstall:") return false;
        if (sender == nullptr) {
            pane_.uninstall(nullptr);
        } else {
            HostControl control(*sender);
            pane_.uninstall(&control);
        }
        return true;
    }

  private:
    HostNavigation navigation_;  // before the pane, which refers to it
    RK_MessageViewPane pane_;
    std::string title_;  // valid for the host until the next call
    std::unique_ptr<HostControl> titleText_;
    std::unique_ptr<HostControl> descriptionText_;
    std::unique_ptr<HostControl> uninstallBtn_;
};

PluginPane& pluginPane(void* context) {
    return *static_cast<PluginPane*>(context);
}

const char* title(void* context) {
    return guarded<const char*>("", [&] { return pluginPane(context).title(); });
}

// A value that the enumeration does not name is passed on, and counts as forward. A failure leaves
// the pane on screen.
void didEnterPane(void* context, int direction) {
    guarded(0, [&] {
        pluginPane(context).pane().didEnterPane(InstallerDirection{direction});
        return 0;
    });
}

// A failure lets the user leave: the pane must not hold up the installation.
int shouldExitPane(void* context, int direction) {
    return guarded(1, [&] {
        const InstallerDirection travel{direction};
        return pluginPane(context).pane().shouldExitPane(travel) ? 1 : 0;
    });
}

// False also without memory: the outlet stays null, and the pane does without that element.
int setOutlet(void* context, const char* name, const installer_control* control) {
    return guarded(0, [&] { return pluginPane(context).setOutlet(name, *control) ? 1 : 0; });
}

int performAction(void* context, const char* name, const installer_control* sender) {
    return guarded(0, [&] { return pluginPane(context).performAction(name, sender) ? 1 : 0; });
}

void destroy(void* context) {
    delete &pluginPane(context);
}

// A callback of the library, kept until the process exits and passed to the host as a plain
// function: the host may call it as long as it runs, and has no call to take it back.
struct KeptCallback {
    static void call(void* user) { (*static_cast<std::function<void()>*>(user))(); }
    static void* keep(std::function<void()> callback) {
        static auto& all = *new std::list<std::function<void()>>;
        return &all.emplace_back(std::move(callback));
    }
};

// The host's table in the form that the run loop takes. Captured by value: the functions stay valid
// until the process exits.
platform::posix::HostServices hostServices(const installer_host_services& host) {
    platform::posix::HostServices services;
    services.isMainThread = [host] { return host.is_main_thread(host.context) != 0; };
    services.watch = [host](int descriptor, std::function<void()> drain) {
        host.watch_descriptor(host.context, descriptor, KeptCallback::call,
                              KeptCallback::keep(std::move(drain)));
    };
    services.sendNextEvent = [host](std::chrono::milliseconds longest) {
        return host.send_next_event(host.context, static_cast<int>(longest.count())) != 0;
    };
    services.observeTermination = [host](std::function<void()> callback) {
        host.observe_termination(host.context, KeptCallback::call,
                                 KeptCallback::keep(std::move(callback)));
    };
    return services;
}

}  // namespace
}  // namespace quillmoor

int installer_plugin_attach(const installer_host_services* services) {
    // The struct of an older host ends before members that are used here.
    if (services == nullptr || services->version < INSTALLER_PLUGIN_VERSION) return 0;
    return quillmoor::guarded(0, [&] {
        quillmoor::platform::posix::attachHost(quillmoor::hostServices(*services));
        return 1;
    });
}

int installer_plugin_create_pane(const char* class_name, const installer_pane_host* host,
                                 installer_pane* pane) {
    using namespace quillmoor;  // NOLINT(google-build-using-namespace): the C boundary's own body
    return guarded(0, [&] {
        if (std::string(class_name) != "RK_MessageViewPane") return 0;
        *pane =
            installer_pane{new PluginPane(*host), title,  didEnterPane, shouldExitPane, setOutlet,
                           performAction,         destroy};
        return 1;
    });
}
