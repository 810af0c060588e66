// Path strings, taken apart and joined. Nothing here touches the file system, and nothing inside a
// path is normalised: //, ., .., ~, case and composition stay as they are.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor {

// /a//b gives /, a, b. A trailing slash gives no component.
StringList pathComponents(std::string_view path);

// Components with a separator between each two: /, Volumes, D joined with / give //Volumes/D.
std::string componentsJoined(const StringList& components, std::string_view separator);

// Joined with exactly one slash. nil in, nil out.
OptionalPath appendPathComponent(const OptionalPath& path, const OptionalPath& component);

std::string lastPathComponent(std::string_view path);
std::string deleteLastPathComponent(std::string_view path);

// What follows the last full stop of the last component; a leading full stop starts none.
std::string pathExtension(std::string_view path);
std::string deletePathExtension(std::string_view path);
std::string appendPathExtension(std::string_view path, std::string_view extension);

// The name that an item with `extension` gets when it collides in the Trash: `stamp` is 14 digits
// of local time. Without an extension the name ends in a full stop.
std::string stampedPath(std::string_view path, std::string_view stamp, std::string_view extension);

// `path` itself if nothing is there, else the first free one of "name 2.ext", "name 3.ext", …
std::string uniqueFilename(std::string_view path,
                           const std::function<bool(const std::string&)>& exists);

// A name fit for a file: one leading full stop, white space at both ends, every / and every : taken
// out, in this order. May be empty.
std::string validateFilename(std::string_view name);

// * in `pattern` matches any run, ? any one character; every other character, brackets and
// backslashes included, only itself.
bool isLike(std::string_view pattern, std::string_view name);

}  // namespace quillmoor
