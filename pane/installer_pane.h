// The interfaces between a pane and the installer that hosts it. All functions are called on the
// installer's main thread.
#pragma once

#include <string>

namespace quillmoor {

// The direction in which the user moves through the panes. The installer defines the values.
enum class InstallerDirection : long { Forward = 0, Backward = 1, Undefined = 2 };

// An element of the pane's interface file. Owned by the installer.
class Control {
  public:
    virtual ~Control() = default;
    // Without effect once the element's widget was destroyed.
    virtual void setHidden(bool hidden) = 0;
};

// The installer's navigation. A pane that navigates is left without a call of its shouldExitPane.
class PaneNavigation {
  public:
    virtual ~PaneNavigation() = default;
    // To the next or the previous pane; nothing happens where there is none.
    virtual void gotoNextPane() = 0;
    virtual void gotoPreviousPane() = 0;
};

// A pane. The installer calls title() and didEnterPane() whenever the user reaches it.
class InstallerPane {
  public:
    // `navigation` must outlive the pane.
    explicit InstallerPane(PaneNavigation& navigation) : navigation_(navigation) {}
    virtual ~InstallerPane() = default;
    InstallerPane(const InstallerPane&) = delete;
    InstallerPane& operator=(const InstallerPane&) = delete;

    // What the installer shows above the pane.
    virtual std::string title() = 0;
    // Called when the pane is reached, before it is shown. May navigate: then it is never shown.
    virtual void didEnterPane(InstallerDirection direction) = 0;
    // Called before the user leaves the pane. False keeps the pane on screen.
    virtual bool shouldExitPane(InstallerDirection direction) = 0;

  protected:
    void gotoNextPane() { navigation_.gotoNextPane(); }
    void gotoPreviousPane() { navigation_.gotoPreviousPane(); }

  private:
    PaneNavigation& navigation_;
};

}  // namespace quillmoor
