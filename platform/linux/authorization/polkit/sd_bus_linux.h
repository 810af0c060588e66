// The functions of libsystemd for the system's message bus. The library is loaded when it is first
// needed: neither building nor running depends on it.
#pragma once

#include <cstdint>

// The library's own types, which are opaque here.
struct sd_bus;
struct sd_bus_message;

namespace quillmoor::platform::linux_::authorization {

// Named as in the library, without its prefix. A negative result is a negated error number.
struct SdBus {
    int (*create)(sd_bus** bus);
    int (*setAddress)(sd_bus* bus, const char* address);
    int (*setBusClient)(sd_bus* bus, int yes);
    int (*start)(sd_bus* bus);
    void (*close)(sd_bus* bus);
    sd_bus* (*unref)(sd_bus* bus);
    int (*getFd)(sd_bus* bus);
    int (*getEvents)(sd_bus* bus);
    int (*process)(sd_bus* bus, sd_bus_message** message);
    int (*send)(sd_bus* bus, sd_bus_message* message, std::uint64_t* cookie);
    int (*newMethodCall)(sd_bus* bus, sd_bus_message** message, const char* destination,
                         const char* path, const char* interface, const char* member);
    int (*replyMethodReturn)(sd_bus_message* call, const char* types, ...);
    int (*replyMethodError)(sd_bus_message* call, const char* name, const char* format, ...);
    int (*append)(sd_bus_message* message, const char* types, ...);
    int (*read)(sd_bus_message* message, const char* types, ...);
    int (*skip)(sd_bus_message* message, const char* types);
    int (*enterContainer)(sd_bus_message* message, char type, const char* contents);
    int (*exitContainer)(sd_bus_message* message);
    const char* (*getSender)(sd_bus_message* message);
    int (*getReplyCookie)(sd_bus_message* message, std::uint64_t* cookie);
    int (*isMethodCall)(sd_bus_message* message, const char* interface, const char* member);
    int (*isMethodError)(sd_bus_message* message, const char* name);
    int (*isSignal)(sd_bus_message* message, const char* interface, const char* member);
    sd_bus_message* (*unrefMessage)(sd_bus_message* message);
};

// This system's library, if it has every function. Null otherwise.
const SdBus* sdBus();

}  // namespace quillmoor::platform::linux_::authorization
