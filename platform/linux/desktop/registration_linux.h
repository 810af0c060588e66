// Making an application known to the desktop.
#pragma once

#include <cstdint>
#include <string>

namespace quillmoor::platform::linux_ {

// As Applications::registerApplication: writes the desktop entry <identifier>.desktop into the
// user's data folder and has the desktop's database of entries brought up to date, without waiting
// for it.
//
// An application is a folder *.app with an information dictionary that bears an identifier fit for
// a file's name, and with a program. For the super-user the user is the one at the console; nothing
// of that user's is followed or started, so the database is left to the user's own desktop.
std::int32_t registerApplication(const std::string& path);

}  // namespace quillmoor::platform::linux_
