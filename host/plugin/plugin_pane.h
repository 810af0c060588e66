// A plug-in's pane with its interface.
#pragma once

#include <QPointer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/ground/transcript.h"
#include "host/plugin/bundle_info.h"
#include "host/plugin/interface_file.h"
#include "host/plugin/plugin_library.h"
#include "host/sections/section.h"

namespace quillmoor::host {

// Creates the pane, connects its outlets to the interface's widgets by name, and the buttons'
// "action" properties to its actions. For the main thread only.
class PluginPane : public Section {
  public:
    // Called when the pane asks for the next or the previous pane, always on the main thread.
    using Go = std::function<void(PluginPane& pane, Direction direction)>;

    // Throws HostError. The transcript must outlive the pane.
    PluginPane(const BundleInfo& info, const PluginLibrary& library, Interface interface,
               Transcript& transcript, Go go);
    PluginPane(const PluginPane&) = delete;
    PluginPane& operator=(const PluginPane&) = delete;

    QString title() const override { return title_; }
    std::unique_ptr<QWidget> takeWidget() override { return std::move(widget_); }
    bool isPlugin() const override { return true; }
    const std::string& productName() const { return info_.productName; }

    bool shouldExit(Direction direction) override;
    void didEnter(Direction direction) override;

  private:
    // The context of a control that the pane holds. The widget may be destroyed before the pane.
    struct Outlet {
        QPointer<QWidget> widget;
        Transcript* transcript;
    };

    // The pane that the plug-in created. A member, because the destructor of a PluginPane whose
    // construction fails is not called.
    struct CreatedPane : installer_pane {
        explicit CreatedPane(const installer_pane& pane) : installer_pane(pane) {}
        ~CreatedPane() { destroy(context); }
        CreatedPane(const CreatedPane&) = delete;
        CreatedPane& operator=(const CreatedPane&) = delete;
    };

    installer_pane_host hostTable();
    void go(Direction direction);
    const installer_control& controlFor(QWidget* widget);
    void joinOutlets(QWidget* root);
    void joinAction(QWidget* widget, const installer_control& control);
    void perform(const std::string& action, const installer_control& sender);

    BundleInfo info_;
    Transcript& transcript_;
    Go go_;
    // In this order: the widget is destroyed first, because its buttons call the pane. The pane
    // follows, which may use its controls until the end.
    std::vector<std::unique_ptr<Outlet>> outlets_;
    std::vector<std::unique_ptr<installer_control>> controls_;
    CreatedPane pane_;
    std::unique_ptr<QWidget> widget_;
    QString title_;
};

}  // namespace quillmoor::host
