// What keeps exceptions of the pane from the frames of the Installer on macOS.
#pragma once

#include <type_traits>

namespace quillmoor {

// Calls function(data). Returns false if that threw a C++ or an Objective-C exception, which is
// released and not reported. Defined in a source of plain C++, which is all that catches both kinds
// with every runtime.
bool callContained(void (*function)(void*), void* data) noexcept;

// The same for a function object without arguments.
template <typename Function>
bool contain(Function&& function) noexcept {
    using Object = std::remove_reference_t<Function>;
    return callContained([](void* data) { (*static_cast<Object*>(data))(); }, &function);
}

}  // namespace quillmoor
