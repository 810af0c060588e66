#include "quillmoor/platform/posix/ground/error_text_posix.h"

#include <string.h>

#include "quillmoor/base/paths.h"

namespace quillmoor::platform::posix {
namespace {

std::string_view word(FileVerb verb) {
    switch (verb) {
        case FileVerb::Removed:
            return "removed";
        case FileVerb::Moved:
            return "moved";
        case FileVerb::Trashed:
            return "moved to the Trash";
        case FileVerb::Copied:
            return "copied";
        case FileVerb::Created:
            return "created";
        case FileVerb::Written:
            return "written";
        case FileVerb::Changed:
            return "changed";
    }
    return "";
}

}  // namespace

std::string systemErrorText(int code) {
#ifdef __GLIBC__
    // Unlike strerror it does not translate.
    const char* text = ::strerrordesc_np(code);
    if (text != nullptr) return text;
    return "Unknown error " + std::to_string(code);
#else
    char text[256] = "";
    // The variant of POSIX, which writes to the buffer; the one of glibc may return another text.
    ::strerror_r(code, text, sizeof text);
    return text;
#endif
}

Error fileError(FileVerb verb, std::string_view path, int code) {
    std::string text = "\u201c" + lastPathComponent(path) + "\u201d couldn\u2019t be ";
    text.append(word(verb)).append(": ").append(systemErrorText(code));
    return {code, std::move(text)};
}

Outcome fileOutcome(FileVerb verb, std::string_view path, int code, bool isHalfDone) {
    if (code == 0) return Outcome::success();
    Error error = fileError(verb, path, code);
    error.isHalfDone = isHalfDone;
    return Outcome::failure(std::move(error));
}

}  // namespace quillmoor::platform::posix
