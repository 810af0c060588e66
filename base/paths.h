// Path strings: splitting, joining, extensions, names and wildcards. Nothing here touches the file
// system, and nothing inside a path is normalised: //, ., .., ~, case and Unicode composition stay
// as they are. Paths are bytes and need not be valid UTF-8.
//
// All functions may be called from any thread, and throw std::bad_alloc only.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor {

// The components of a path: /a//b gives /, a, b. An absolute path begins with the component "/".
// Repeated and trailing slashes give no component, and neither does an empty path.
StringList pathComponents(std::string_view path);

// The components with `separator` between each two. Not the inverse of pathComponents: /, Volumes,
// D joined with / give //Volumes/D, because the first component is a slash itself.
std::string componentsJoined(const StringList& components, std::string_view separator);

// Both joined with exactly one slash; slashes at the end of either are removed. nil if one of them
// is nil. An absolute component is joined like a relative one: /a and /b give /a/b. Joined to an
// empty path the component is the result, and an absolute one stays absolute; an empty component
// only removes the slashes at the end of the path.
//
//   appendPathComponent("/a/", "b/")   // /a/b
//   appendPathComponent("", "/b")      // /b
OptionalPath appendPathComponent(const OptionalPath& path, const OptionalPath& component);

// The last component, without trailing slashes; "/" for a path of slashes only, "" for an empty
// one.
std::string lastPathComponent(std::string_view path);
// What is before the last component: /a/b/ gives /a, /a gives /, a gives "".
std::string deleteLastPathComponent(std::string_view path);

// What follows the last full stop of the last component, without the full stop. "" if there is
// none, if it is the component's first character (.profile) or its last one.
std::string pathExtension(std::string_view path);
// The path without its extension and the full stop before it, and without trailing slashes.
std::string deletePathExtension(std::string_view path);
// The path with a full stop and `extension` added, after trailing slashes have been removed.
std::string appendPathExtension(std::string_view path, std::string_view extension);

// The path that an item gets when its name is taken in the Trash: /T/a.txt gives
// /T/a_20240131235959.txt, where `stamp` is 14 digits of local time. With an empty `extension` the
// path ends in a full stop.
std::string stampedPath(std::string_view path, std::string_view stamp, std::string_view extension);

// `path` itself if `exists` returns false for it, else the first such of "name 2.ext", "name 3.ext"
// and so on; only the last extension counts as one. The name is not reserved: another process may
// take it after `exists` has looked. Does not return while `exists` returns true. An exception of
// `exists` reaches the caller.
//
//   uniqueFilename("/a/b.tar.gz", isTaken)   // /a/b.tar 2.gz when /a/b.tar.gz alone is taken
std::string uniqueFilename(std::string_view path,
                           const std::function<bool(const std::string&)>& exists);

// A name that a file can have: removes one leading full stop, white space at both ends, every / and
// every :, in this order. A full stop that was second becomes the first. May be empty.
//
//   validateFilename(".a/b: ")   // ab
std::string validateFilename(std::string_view name);

// Whether the whole of `name` matches. * in `pattern` matches any number of characters, ? exactly
// one; every other character, brackets and backslashes included, matches only itself. A leading
// full stop is an ordinary character. Case counts. An invalid UTF-8 byte counts as one character.
// Takes at most the product of both lengths in steps, whatever the pattern.
//
//   isLike("*.pl?st", "com.example.plist")   // true
//   isLike("[ab].txt", "a.txt")              // false: the brackets match themselves
bool isLike(std::string_view pattern, std::string_view name);

}  // namespace quillmoor
