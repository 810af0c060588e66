// Limits on what a property list costs, checked before it is parsed. A short hostile file can nest
// deeper than a thread's stack, keep the parser busy for long, or, in the binary form, expand to
// more objects than there is memory for, since an object may be referenced any number of times.
#pragma once

#include <string_view>

namespace quillmoor::platform::posix {

// Deeper than any genuine list.
inline constexpr int kDeepestPropertyList = 128;

// True when parsing the XML form is cheap. False also for text that is not formed as a property
// list is: a document type with its own definitions, a < or > inside a tag, tags that do not match.
bool isModestXML(std::string_view text);

// True when parsing the binary form is cheap. False also when its tables lead out of it or an
// object contains itself.
bool isModestBinary(std::string_view bytes);

}  // namespace quillmoor::platform::posix
