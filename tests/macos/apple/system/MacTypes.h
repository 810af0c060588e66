// The system's basic types, as far as the back-end for macOS uses them.
#pragma once

#include <cstdint>

typedef std::uint8_t UInt8;
typedef std::uint16_t UInt16;
typedef std::int16_t SInt16;
typedef std::uint32_t UInt32;
typedef std::int32_t SInt32;
typedef std::uint64_t UInt64;
typedef unsigned char Boolean;
typedef SInt16 OSErr;
typedef SInt32 OSStatus;
typedef UInt32 OSType;
typedef UInt32 OptionBits;
typedef UInt32 FourCharCode;
typedef char* Ptr;
typedef Ptr* Handle;
typedef long Size;
