#include "host/plugin/plugin_pane.h"

#include <QAbstractButton>

#include "host/ground/display_text.h"
#include "host/plugin/host_services.h"

namespace quillmoor::host {
namespace {

// Parts of the toolkit's own widgets, such as the line edit of a spin box.
bool isInternal(const QString& name) {
    return name.startsWith("qt_");
}

}  // namespace

PluginPane::PluginPane(const BundleInfo& info, const PluginLibrary& library, Interface interface,
                       Transcript& transcript, Go go)
    : info_(info),
      transcript_(transcript),
      go_(std::move(go)),
      pane_(library.createPane(interface.paneClass, hostTable())),
      widget_(std::move(interface.widget)) {
    // Asked once: the list of steps shows it before the pane is entered.
    const char* title = pane_.title(pane_.context);
    title_ = shown(title != nullptr && *title != '\0' ? title : info_.sectionTitle);
    joinOutlets(widget_.get());
}

// Passed to the plug-in for one call, in which it copies the table.
installer_pane_host PluginPane::hostTable() {
    installer_pane_host host{};
    host.context = this;
    host.goto_next_pane = [](void* context) noexcept {
        static_cast<PluginPane*>(context)->go(Direction::Forward);
    };
    host.goto_previous_pane = [](void* context) noexcept {
        static_cast<PluginPane*>(context)->go(Direction::Backward);
    };
    return host;
}

// A plug-in may call this on any thread.
void PluginPane::go(Direction direction) {
    HostServices::shared().onMainThread([this, direction] { go_(*this, direction); });
}

const installer_control& PluginPane::controlFor(QWidget* widget) {
    // Each in its own memory: the pane keeps their addresses while more are added.
    outlets_.push_back(std::make_unique<Outlet>(Outlet{widget, &transcript_}));
    auto control = std::make_unique<installer_control>();
    control->context = outlets_.back().get();
    control->set_hidden = [](void* context, int hidden) noexcept {
        const Outlet& outlet = *static_cast<Outlet*>(context);
        if (outlet.widget.isNull()) return;
        outlet.widget->setHidden(hidden != 0);
        outlet.transcript->write(hidden != 0 ? "hidden" : "shown",
                                 bytesOf(outlet.widget->objectName()));
    };
    controls_.push_back(std::move(control));
    return *controls_.back();
}

// Every named element is offered. A pane without such an outlet returns 0, which is not a mistake.
void PluginPane::joinOutlets(QWidget* root) {
    for (QWidget* widget : root->findChildren<QWidget*>()) {
        const QString name = widget->objectName();
        if (name.isEmpty() || isInternal(name)) continue;
        const installer_control& control = controlFor(widget);
        pane_.set_outlet(pane_.context, bytesOf(name).c_str(), &control);
        joinAction(widget, control);
    }
}

void PluginPane::joinAction(QWidget* widget, const installer_control& control) {
    const std::string action = bytesOf(widget->property("action").toString());
    if (action.empty()) return;
    auto* button = qobject_cast<QAbstractButton*>(widget);
    if (button == nullptr) {
        transcript_.problem(inQuotes(info_.path) + ": " + inQuotes(bytesOf(widget->objectName())) +
                            " is not a button and cannot perform " + inQuotes(action));
        return;
    }
    // The control outlives the button, which is destroyed before the pane.
    QObject::connect(button, &QAbstractButton::clicked, button,
                     [this, action, &control] { perform(action, control); });
}

void PluginPane::perform(const std::string& action, const installer_control& sender) {
    const auto& outlet = *static_cast<const Outlet*>(sender.context);
    transcript_.write("action", action + " from " + bytesOf(outlet.widget->objectName()));
    if (pane_.perform_action(pane_.context, action.c_str(), &sender) == 0)
        transcript_.problem(inQuotes(info_.path) + ": its pane has no action " + inQuotes(action));
}

bool PluginPane::shouldExit(Direction direction) {
    return pane_.should_exit_pane(pane_.context, static_cast<int>(direction)) != 0;
}

void PluginPane::didEnter(Direction direction) {
    pane_.did_enter_pane(pane_.context, static_cast<int>(direction));
}

}  // namespace quillmoor::host
