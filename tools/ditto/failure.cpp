#include "tools/ditto/failure.h"

#include <cerrno>
#include <cstdio>
#include <exception>

#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "tools/ditto/text.h"

namespace quillmoor::ditto {

void failWithErrno(std::string_view path, std::string_view what) {
    failWithError(path, what, errno);
}

void failWithError(std::string_view path, std::string_view what, int error) {
    throw Failure(quoted(path) + " couldn’t be " + std::string(what) + ": " +
                  platform::posix::systemErrorText(error));
}

// Called while another failure is under way, from destructors as well: a lack of memory for the
// name must not replace that failure.
void warnOfResidue(const std::string& name) noexcept {
    try {
        std::fprintf(stderr, "ditto: %s is left behind\n", printable(name).c_str());
    } catch (const std::exception&) {
        std::fputs("ditto: a temporary item is left behind\n", stderr);
    }
}

}  // namespace quillmoor::ditto
