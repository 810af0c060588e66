// Which pane is the current one, and how the user and the panes themselves move between them. No
// toolkit, no widgets.
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

    // Asked before the user leaves the pane; false keeps it.
    virtual bool shouldExit(Direction direction) = 0;

    // The pane has been reached. It may ask for the next or the previous pane in here and is then
    // passed over: it is never shown.
    virtual void didEnter(Direction direction) = 0;
};

// Told of everything that happens, in the order in which it happens.
class SequenceObserver {
  public:
    virtual ~SequenceObserver() = default;

    // `pane` is about to be told that it has been reached.
    virtual void paneReached(std::size_t pane, Direction direction) = 0;
    // `pane` was reached and asked to be left at once.
    virtual void panePassedOver(std::size_t pane, Direction direction) = 0;
    // The travel ends at `pane`, which is to be shown.
    virtual void paneSettled(std::size_t pane) = 0;
    // The user wanted to leave `pane`, which said no.
    virtual void paneKept(std::size_t pane, Direction direction) = 0;
    // Nothing was done: no pane is beyond `pane`.
    virtual void nothingBeyond(std::size_t pane, Direction direction) = 0;
    // Nothing was done: panes keep passing one another over. `pane` stays.
    virtual void panesCircle(std::size_t pane, Direction direction) = 0;
};

// Belongs to one thread. Panes may call back into it from inside shouldExit and didEnter; what they
// ask is done after they have returned, in a loop.
class PaneSequence {
  public:
    // Panes and observer are not owned.
    PaneSequence(std::vector<SequencedPane*> panes, SequenceObserver& observer);

    // Enters the first pane, forward. Without panes it does nothing.
    void start();

    // The user asks to go on or back: the current pane may refuse. Past the last and before the
    // first pane nothing happens, and neither while panes are being entered.
    void userGoes(Direction direction);

    // `pane` itself asks for the next or the previous pane: it is not asked whether it may be left.
    // Only the current pane is listened to, and while it is being entered only its first wish.
    void paneGoes(std::size_t pane, Direction direction);

    // The pane that was reached last, shown or not.
    std::optional<std::size_t> current() const { return current_; }
    std::size_t count() const { return panes_.size(); }

    // Panes are being asked or entered; the user's wishes are not heard meanwhile.
    bool travelling() const { return travelling_; }

  private:
    std::optional<std::size_t> neighbour(std::size_t pane, Direction direction) const;
    void travel(std::size_t destination, Direction direction);
    // Enters one pane; answers where it wants to go on to.
    std::optional<std::size_t> enter(std::size_t pane, Direction direction);

    std::vector<SequencedPane*> panes_;
    SequenceObserver& observer_;
    std::optional<std::size_t> current_;
    std::optional<Direction> wish_;
    std::set<std::pair<std::size_t, Direction>> entered_;
    bool travelling_ = false;
};

}  // namespace quillmoor::host
