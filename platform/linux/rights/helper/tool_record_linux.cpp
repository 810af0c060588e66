#include "platform/linux/rights/helper/tool_record_linux.h"

#include <syslog.h>

#include <string_view>

namespace quillmoor::platform::linux_::rights::helper {
namespace {

std::string escaped(char letter) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr std::string_view kSpecial = " \"\\";
    if (letter > ' ' && letter <= '~' && kSpecial.find(letter) == std::string_view::npos)
        return std::string(1, letter);
    const auto byte = static_cast<unsigned char>(letter);
    return {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
}

// False when `record` would get longer than that, and is not complete.
bool append(std::string& record, std::string_view text, std::size_t longest) {
    if (record.size() + text.size() > longest) return false;
    record += text;
    return true;
}

bool appendWord(std::string& record, std::string_view word, std::size_t longest) {
    if (!append(record, " ", longest)) return false;
    if (word.empty()) return append(record, "\"\"", longest);
    for (const char letter : word)
        if (!append(record, escaped(letter), longest)) return false;
    return true;
}

}  // namespace

std::string toolRecord(const Client& client, const StringList& command) {
    std::string record =
        "uid " + std::to_string(client.uid) + ", process " + std::to_string(client.pid) + ":";
    const std::string rest = "... (" + std::to_string(command.size() - 1) + " arguments)";
    for (const std::string& word : command)
        if (!appendWord(record, word, kLongestRecord - rest.size())) return record + rest;
    return record;
}

void logTool(const Client& client, const StringList& command) {
    // The log is not kept open: the service behind it may be started anew meanwhile.
    ::openlog("quillmoor-rights-helper", LOG_PID, LOG_AUTHPRIV);
    ::syslog(LOG_NOTICE, "%s", toolRecord(client, command).c_str());
    ::closelog();
}

}  // namespace quillmoor::platform::linux_::rights::helper
