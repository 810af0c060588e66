// Declaration of the call that makes clones, for a system that lacks it.
#pragma once

#include <cstdint>

#define CLONE_NOOWNERCOPY 0x0002

extern "C" int fclonefileat(int from, int folder, const char* name, std::uint32_t flags);
