// What a property list would cost, found out before it is parsed. A short file can nest deeper than
// a thread's stack reaches, keep the parser busy for long, or, in the binary form, stand for more
// objects than there is memory, since any object may be referred to any number of times.
#pragma once

#include <string_view>

namespace quillmoor::platform::linux_ {

// Deeper than any honest list.
inline constexpr int kDeepestPropertyList = 128;

// The XML form. NO also for text that is not laid out as a property list is: a document type with
// definitions of its own, a < or > inside a tag, tags that do not pair.
bool isModestXML(std::string_view text);

// The binary form. NO also when its tables lead out of it or an object contains itself.
bool isModestBinary(std::string_view bytes);

}  // namespace quillmoor::platform::linux_
