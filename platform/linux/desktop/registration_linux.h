// Making an application known to the desktop.
#pragma once

#include <cstdint>
#include <string>

namespace quillmoor::platform::linux_ {

// As Applications::registerApplication: writes the desktop entry <identifier>.desktop into the
// user's data folder and starts the update of the desktop's database, without waiting for it.
//
// An application is a folder *.app with a program and with an information dictionary whose
// identifier can be a file name. For root the user is the one at the console; no link or program of
// that user's is followed or started, so the user's own desktop updates the database.
std::int32_t registerApplication(const std::string& path);

}  // namespace quillmoor::platform::linux_
