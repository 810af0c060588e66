// Answering programs that ask for a password on their standard input.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/channel/secret_linux.h"

namespace quillmoor::platform::linux_::authorization {

// Writes the one password for each of the expected prompts, once and in their order. A repeated
// prompt abandons the launch: the password was wrong.
class PromptAnswers : public Conversation {
  public:
    // Prompts are read from `texts`; the password is written to `input`, a socket.
    PromptAnswers(int texts, int input, StringList prompts, std::string_view password)
        : texts_(texts), input_(input), prompts_(std::move(prompts)), line_(password, "\n") {}

    void await(std::vector<pollfd>& polled) const override;
    bool proceed(const LaunchChild& launcher) override;
    // Handles the next piece of text. False abandons the launch.
    bool hear(std::string_view text);

    bool wasAsked() const { return answered_ > 0; }
    // What was written after the last prompt.
    const std::string& rest() const { return heard_; }

  private:
    bool answer();

    int texts_;  // -1 after the end of the stream
    int input_;
    StringList prompts_;
    Secret line_;
    std::string heard_;
    std::size_t answered_ = 0;
};

}  // namespace quillmoor::platform::linux_::authorization
