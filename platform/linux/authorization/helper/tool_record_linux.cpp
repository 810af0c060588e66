#include "quillmoor/platform/linux/authorization/helper/tool_record_linux.h"

#include <syslog.h>

#include <string_view>
#include <utility>

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

// A newline or a control character in an argument could forge a line of the log, or confuse a
// terminal that shows it.
std::string escaped(char letter) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr std::string_view kSpecial = " \"\\";
    if (letter > ' ' && letter <= '~' && kSpecial.find(letter) == std::string_view::npos)
        return std::string(1, letter);
    const auto byte = static_cast<unsigned char>(letter);
    return {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
}

// Distributes a text over records.
class Records {
  public:
    explicit Records(const Client& client)
        : start_("uid " + std::to_string(client.uid) + ", process " + std::to_string(client.pid)),
          all_{start_ + ":"} {}

    // `text` is not divided between two records.
    void append(std::string_view text) {
        if (all_.back().size() + text.size() > kLongestRecord)
            all_.push_back(start_ + ", continued:");
        all_.back() += text;
    }

    StringList take() { return std::move(all_); }

  private:
    std::string start_;
    StringList all_;
};

}  // namespace

StringList toolRecords(const Client& client, const StringList& command) {
    Records records(client);
    for (const std::string& word : command) {
        records.append(" ");
        if (word.empty()) records.append("\"\"");
        for (const char letter : word) records.append(escaped(letter));
    }
    return records.take();
}

void logTool(const Client& client, const StringList& command) {
    // Not kept open: the logging service may be restarted between two tools.
    ::openlog("quillmoor-rights-helper", LOG_PID, LOG_AUTHPRIV);
    for (const std::string& record : toolRecords(client, command))
        ::syslog(LOG_NOTICE, "%s", record.c_str());
    ::closelog();
}

}  // namespace quillmoor::platform::linux_::authorization::helper
