#include "tools/ditto/failure.h"

#include <cerrno>
#include <system_error>

#include "tools/ditto/text.h"

namespace quillmoor::ditto {

void failWithErrno(std::string_view path, std::string_view what) {
    failWithError(path, what, errno);
}

void failWithError(std::string_view path, std::string_view what, int error) {
    throw Failure(quoted(path) + " couldn’t be " + std::string(what) + ": " +
                  std::generic_category().message(error));
}

}  // namespace quillmoor::ditto
