// Starting tools from a process that runs as root itself.
#pragma once

#include <memory>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/authorization.h"

namespace quillmoor::platform::linux_::authorization {

// Starts `tool` as a child and does not wait for it. kAuthorizationToolExecuteFailure when it
// cannot be started; `stream` is then unchanged.
AuthorizationStatus executeDirectly(const std::string& tool, const StringList& arguments,
                                    std::shared_ptr<AuthorizedToolStream>& stream);

}  // namespace quillmoor::platform::linux_::authorization
