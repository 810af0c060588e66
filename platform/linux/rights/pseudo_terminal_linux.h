// A terminal that only this process and a program of its choice know of.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "platform/posix/descriptor.h"

namespace quillmoor::platform::linux_::rights {

class PseudoTerminal {
  public:
    // Every byte but the line end is passed on as it is: none edits the line or raises a signal.
    // Echo is on. nil when the system has none to give.
    static std::optional<PseudoTerminal> open();

    // Ours: what is written to it was typed, what is read from it was shown.
    int descriptor() const { return master_.get(); }
    // The program's, by name.
    const std::string& name() const { return name_; }

    // Whether what is typed is shown. A program that has just switched this off has thrown away
    // what was typed before.
    bool echoes() const;

  private:
    PseudoTerminal(posix::Descriptor master, posix::Descriptor slave, std::string name)
        : master_(std::move(master)), slave_(std::move(slave)), name_(std::move(name)) {}

    posix::Descriptor master_;
    posix::Descriptor slave_;  // kept open: without one, reading would fail until the program's is
    std::string name_;
};

}  // namespace quillmoor::platform::linux_::rights
