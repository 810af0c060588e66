#include "host/sections/pane_sequence.h"

namespace quillmoor::host {

const char* nameOf(Direction direction) {
    return direction == Direction::Forward ? "forward" : "backward";
}

PaneSequence::PaneSequence(std::vector<SequencedPane*> panes, SequenceObserver& observer)
    : panes_(std::move(panes)), observer_(observer) {}

std::optional<std::size_t> PaneSequence::neighbour(std::size_t pane, Direction direction) const {
    if (direction == Direction::Backward) return pane > 0 ? std::optional(pane - 1) : std::nullopt;
    return pane + 1 < panes_.size() ? std::optional(pane + 1) : std::nullopt;
}

void PaneSequence::start() {
    if (!panes_.empty() && !current_) travel(0, Direction::Forward);
}

void PaneSequence::userGoes(Direction direction) {
    if (travelling_ || !current_) return;
    const std::size_t pane = *current_;
    const auto destination = neighbour(pane, direction);
    // The pane is not asked where it could not be left anyway.
    if (!destination) return observer_.nothingBeyond(pane, direction);

    travelling_ = true;
    wish_.reset();
    // A wish from inside shouldExit() counts only if the pane refuses: else the user's wish does.
    const bool leaves = panes_[pane]->shouldExit(direction);
    travelling_ = false;
    if (leaves) return travel(*destination, direction);
    observer_.paneKept(pane, direction);
    if (const auto wish = std::exchange(wish_, std::nullopt)) paneGoes(pane, *wish);
}

void PaneSequence::paneGoes(std::size_t pane, Direction direction) {
    if (pane != current_) return;
    if (travelling_) {
        if (!wish_) wish_ = direction;
        return;
    }
    if (const auto destination = neighbour(pane, direction)) return travel(*destination, direction);
    observer_.nothingBeyond(pane, direction);
}

// Enters panes until one stays. What they wish inside didEnter() is noted and carried out by this
// loop, and the user is ignored meanwhile: a pane may dispatch events in there.
void PaneSequence::travel(std::size_t destination, Direction direction) {
    travelling_ = true;
    entered_.clear();
    for (auto next = std::optional(destination); next;) {
        const std::size_t pane = *next;
        next = enter(pane, direction);
        // A pane may send the user back.
        if (next) direction = *next > pane ? Direction::Forward : Direction::Backward;
    }
    // Before the observer shows the pane, from which the user may go on at once.
    travelling_ = false;
    observer_.paneSettled(*current_);
}

std::optional<std::size_t> PaneSequence::enter(std::size_t pane, Direction direction) {
    // Before didEnter(), in which the pane may already ask to be left: only the current pane may.
    current_ = pane;
    wish_.reset();
    entered_.emplace(pane, direction);
    observer_.paneReached(pane, direction);
    panes_[pane]->didEnter(direction);
    const auto wish = std::exchange(wish_, std::nullopt);
    if (!wish) return std::nullopt;

    const auto next = neighbour(pane, *wish);
    if (!next) {
        observer_.nothingBeyond(pane, *wish);
    } else if (entered_.contains({*next, *wish})) {
        // Entered twice in one direction within one move, it would be entered without end.
        observer_.panesCircle(pane, *wish);
        return std::nullopt;
    } else {
        observer_.panePassedOver(pane, *wish);
    }
    return next;
}

}  // namespace quillmoor::host
