// What the installer that hosts a pane and the pane know of each other.
#pragma once

#include <string>

namespace quillmoor {

// In which direction the user travels; the installer's own values.
enum class InstallerDirection : long { Forward = 0, Backward = 1, Undefined = 2 };

// An interface element.
class Control {
  public:
    virtual ~Control() = default;
    virtual void setHidden(bool hidden) = 0;
};

// The installer's navigation. Leaving this way does not ask the pane whether it may be left.
class PaneNavigation {
  public:
    virtual ~PaneNavigation() = default;
    virtual void gotoNextPane() = 0;
    virtual void gotoPreviousPane() = 0;
};

// A pane. Everything happens on the installer's main thread.
class InstallerPane {
  public:
    // `navigation` outlives the pane.
    explicit InstallerPane(PaneNavigation& navigation) : navigation_(navigation) {}
    virtual ~InstallerPane() = default;
    InstallerPane(const InstallerPane&) = delete;
    InstallerPane& operator=(const InstallerPane&) = delete;

    virtual std::string title() = 0;
    virtual void didEnterPane(InstallerDirection direction) = 0;
    virtual bool shouldExitPane(InstallerDirection direction) = 0;

  protected:
    void gotoNextPane() { navigation_.gotoNextPane(); }
    void gotoPreviousPane() { navigation_.gotoPreviousPane(); }

  private:
    PaneNavigation& navigation_;
};

}  // namespace quillmoor
