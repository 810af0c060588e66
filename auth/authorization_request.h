// What is recorded of a request for administrator rights.
#pragma once

#include "quillmoor/platform/authorization.h"

namespace quillmoor {

// Notes the status of a request for administrator rights, or of a tool's start with them. Returns
// whether it is a success.
bool noteRequest(platform::AuthorizationStatus status);

}  // namespace quillmoor
