// The current pane, and how the user and the panes themselves move to others. Independent of the
// toolkit.
#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace quillmoor::host {

// The values are those of the plug-in interface.
enum class Direction { Forward = 0, Backward = 1 };

// "forward", "backward".
const char* nameOf(Direction direction);

class SequencedPane {
  public:
    virtual ~SequencedPane() = default;

    // Called before the user leaves the pane. Returns false to stay.
    virtual bool shouldExit(Direction direction) = 0;

    // Called when the pane is reached. If it asks for the next or the previous pane in here, it is
    // passed over and not shown.
    virtual void didEnter(Direction direction) = 0;
};

// Notified of everything that happens, in the order in which it happens.
class SequenceObserver {
  public:
    virtual ~SequenceObserver() = default;

    // `pane` was reached; its didEnter() is called next.
    virtual void paneReached(std::size_t pane, Direction direction) = 0;
    // `pane` was reached and asked to be passed over.
    virtual void panePassedOver(std::size_t pane, Direction direction) = 0;
    // The move ends at `pane`, which is to be shown.
    virtual void paneSettled(std::size_t pane) = 0;
    // The user asked to leave `pane`, which refused.
    virtual void paneKept(std::size_t pane, Direction direction) = 0;
    // Nothing was done: there is no pane beyond `pane`.
    virtual void nothingBeyond(std::size_t pane, Direction direction) = 0;
    // The move ends at `pane`: panes keep passing one another over.
    virtual void panesCircle(std::size_t pane, Direction direction) = 0;
};

// For one thread only. Panes may call back into it from inside shouldExit and didEnter. Their wish
// is fulfilled after they have returned, in a loop, so that a row of panes does not nest calls.
class PaneSequence {
  public:
    // Owns neither the panes nor the observer.
    PaneSequence(std::vector<SequencedPane*> panes, SequenceObserver& observer);

    // Enters the first pane, forward. Does nothing if there are no panes.
    void start();

    // The user asks to continue or go back; the current pane may refuse. Does nothing past the last
    // and before the first pane, and while panes are being entered.
    void userGoes(Direction direction);

    // `pane` itself asks for the next or the previous pane; its shouldExit() is not called. Only
    // the current pane's wish counts, and while it is being entered only the first one.
    void paneGoes(std::size_t pane, Direction direction);

    // The pane that was reached last, whether it is shown or not.
    std::optional<std::size_t> current() const { return current_; }
    std::size_t count() const { return panes_.size(); }

    // Returns true while panes are being asked or entered. The user's wishes are ignored meanwhile.
    bool travelling() const { return travelling_; }

  private:
    std::optional<std::size_t> neighbour(std::size_t pane, Direction direction) const;
    void travel(std::size_t destination, Direction direction);
    // Enters one pane. Returns the pane that it asks for, if any.
    std::optional<std::size_t> enter(std::size_t pane, Direction direction);

    std::vector<SequencedPane*> panes_;
    SequenceObserver& observer_;
    std::optional<std::size_t> current_;
    std::optional<Direction> wish_;
    std::set<std::pair<std::size_t, Direction>> entered_;
    bool travelling_ = false;
};

}  // namespace quillmoor::host
