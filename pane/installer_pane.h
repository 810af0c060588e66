// The interfaces between a pane and the installer that hosts it. All functions are called on the
// installer's main thread.
//
//   class WelcomePane : public InstallerPane {
//     public:
//       using InstallerPane::InstallerPane;
//       std::string title() override { return "Welcome"; }
//       void didEnterPane(InstallerDirection) override {}
//       bool shouldExitPane(InstallerDirection) override { return true; }
//   };
//
// installer_plugin.h is the same boundary in plain C, which a plug-in on Linux has with its host.
#pragma once

#include <string>

namespace quillmoor {

// The direction in which the user moves through the panes. The installer defines the values. A pane
// compares with Backward: Undefined counts as Forward.
enum class InstallerDirection : long { Forward = 0, Backward = 1, Undefined = 2 };

// An element of the pane's interface file. Owned by the installer, and valid until the pane is
// destroyed.
class Control {
  public:
    virtual ~Control() = default;
    // Hides or shows the element. Without effect once the element's widget was destroyed.
    virtual void setHidden(bool hidden) = 0;
};

// The installer's navigation. A pane that navigates is left without a call of its shouldExitPane.
// Only the pane that was reached last is moved from, and only its first request inside one
// didEnterPane counts. A request inside didEnterPane or shouldExitPane is carried out after that
// call has returned, so panes are never entered one inside another.
class PaneNavigation {
  public:
    virtual ~PaneNavigation() = default;
    // To the next or the previous pane; nothing happens where there is none.
    virtual void gotoNextPane() = 0;
    virtual void gotoPreviousPane() = 0;
};

// A pane. The installer calls title() to label it, sets its outlets, and calls didEnterPane() each
// time the pane is reached. An exception of a pane's function does not reach the installer: it
// counts as an empty title, a pane that is shown, or a pane that may be left.
class InstallerPane {
  public:
    // `navigation` must outlive the pane.
    explicit InstallerPane(PaneNavigation& navigation) : navigation_(navigation) {}
    virtual ~InstallerPane() = default;
    InstallerPane(const InstallerPane&) = delete;
    InstallerPane& operator=(const InstallerPane&) = delete;

    // What the installer shows above the pane and in its list of steps, in UTF-8. Called before the
    // pane is first entered; the installer may keep the result.
    virtual std::string title() = 0;
    // Called when the pane is reached, on every visit, before it is shown. May navigate: then it is
    // not shown this time. Must return soon: the window does not respond until it has.
    virtual void didEnterPane(InstallerDirection direction) = 0;
    // Called before the user leaves the pane. False keeps the pane on screen. Not called when the
    // pane itself navigates, nor when the installer quits.
    virtual bool shouldExitPane(InstallerDirection direction) = 0;

  protected:
    // To the panes beside this one. In the constructor they have no effect.
    void gotoNextPane() { navigation_.gotoNextPane(); }
    void gotoPreviousPane() { navigation_.gotoPreviousPane(); }

  private:
    PaneNavigation& navigation_;
};

}  // namespace quillmoor
