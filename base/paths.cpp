#include "quillmoor/base/paths.h"

#include <algorithm>

namespace quillmoor {
namespace {

// Without the slashes at its end; a path of slashes only becomes "".
std::string_view withoutTrailingSlashes(std::string_view path) {
    const std::size_t last = path.find_last_not_of('/');
    return last == std::string_view::npos ? std::string_view{} : path.substr(0, last + 1);
}

// Where the last component begins in a path without trailing slashes.
std::size_t lastComponentStart(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

// The position of the full stop before the extension in a path without trailing slashes; npos when
// the last component has no extension.
std::size_t extensionStop(std::string_view path) {
    const std::size_t start = lastComponentStart(path);
    const std::size_t stop = path.rfind('.');
    if (stop == std::string_view::npos || stop <= start || stop + 1 == path.size())
        return std::string_view::npos;
    return stop;
}

}  // namespace

StringList pathComponents(std::string_view path) {
    StringList components;
    if (path.starts_with('/')) components.emplace_back("/");
    for (std::size_t i = 0; i < path.size();) {
        const std::size_t end = std::min(path.find('/', i), path.size());
        if (end > i) components.emplace_back(path.substr(i, end - i));
        i = end + 1;
    }
    return components;
}

std::string componentsJoined(const StringList& components, std::string_view separator) {
    std::string joined;
    for (const std::string& component : components) {
        if (&component != &components.front()) joined += separator;
        joined += component;
    }
    return joined;
}

OptionalPath appendPathComponent(const OptionalPath& path, const OptionalPath& component) {
    if (!path || !component) return std::nullopt;
    std::string_view tail = withoutTrailingSlashes(*component);
    tail.remove_prefix(std::min(tail.find_first_not_of('/'), tail.size()));
    // An absolute component joined to nothing stays absolute.
    if (path->empty()) return (component->starts_with('/') ? "/" : "") + std::string(tail);
    std::string head(withoutTrailingSlashes(*path));
    if (tail.empty()) return head.empty() ? "/" : head;
    return head.append("/").append(tail);
}

std::string lastPathComponent(std::string_view path) {
    const std::string_view trimmed = withoutTrailingSlashes(path);
    if (trimmed.empty()) return path.empty() ? "" : "/";
    return std::string(trimmed.substr(lastComponentStart(trimmed)));
}

std::string deleteLastPathComponent(std::string_view path) {
    const std::string_view trimmed = withoutTrailingSlashes(path);
    const std::size_t start = lastComponentStart(trimmed);
    const std::string_view head = withoutTrailingSlashes(trimmed.substr(0, start));
    if (head.empty() && path.starts_with('/')) return "/";
    return std::string(head);
}

std::string pathExtension(std::string_view path) {
    const std::string_view trimmed = withoutTrailingSlashes(path);
    const std::size_t stop = extensionStop(trimmed);
    return stop == std::string_view::npos ? "" : std::string(trimmed.substr(stop + 1));
}

std::string deletePathExtension(std::string_view path) {
    const std::string_view trimmed = withoutTrailingSlashes(path);
    // The root has no extension, and without its slashes it would be no path.
    if (trimmed.empty()) return std::string(path);
    return std::string(trimmed.substr(0, extensionStop(trimmed)));
}

std::string appendPathExtension(std::string_view path, std::string_view extension) {
    return std::string(withoutTrailingSlashes(path)).append(".").append(extension);
}

std::string stampedPath(std::string_view path, std::string_view stamp, std::string_view extension) {
    return deletePathExtension(path).append("_").append(stamp).append(".").append(extension);
}

std::string uniqueFilename(std::string_view path,
                           const std::function<bool(const std::string&)>& exists) {
    std::string candidate(path);
    const std::string base = deletePathExtension(path);
    const std::string extension = pathExtension(path);
    for (long n = 2; exists(candidate); ++n) {
        candidate = base + " " + std::to_string(n);
        if (!extension.empty()) candidate.append(".").append(extension);
    }
    return candidate;
}

}  // namespace quillmoor
