#include "host/plugin/bundle_info.h"

#include <filesystem>

#include "host/ground/display_text.h"
#include "host/ground/host_error.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::host {
namespace {

namespace fs = std::filesystem;
using platform::PropertyListDictionary;

PropertyListDictionary readDictionary(const std::string& bundle) {
    // The error needs no look: what cannot be examined is neither a folder nor a regular file.
    std::error_code error;
    const auto folder = fs::status(bundle, error);
    if (folder.type() == fs::file_type::not_found) throw HostError("there is no such bundle");
    if (folder.type() != fs::file_type::directory) throw HostError("it is not a folder");

    const std::string path = bundle + "/Contents/Info.plist";
    const auto file = fs::status(path, error);
    if (file.type() == fs::file_type::not_found) throw HostError("it has no Contents/Info.plist");
    // Reading a FIFO would wait for a writer.
    if (file.type() != fs::file_type::regular)
        throw HostError("Contents/Info.plist is not a regular file");
    auto dictionary = platform::nativePropertyLists()->dictionaryWithContentsOfFile(path);
    if (!dictionary)
        throw HostError("Contents/Info.plist is not a property list that holds a dictionary");
    return std::move(*dictionary);
}

// Returns "" if the key is missing or has no text.
std::string optionalText(const PropertyListDictionary& dictionary, const std::string& key) {
    const auto entry = dictionary.find(key);
    return entry == dictionary.end() ? "" : entry->second.text().value_or("");
}

std::string requiredText(const PropertyListDictionary& dictionary, const std::string& key) {
    auto text = optionalText(dictionary, key);
    if (text.empty())
        throw HostError("Contents/Info.plist has no text for the key " + inQuotes(key));
    return text;
}

// A file's name, not a path: it must not lead out of its folder.
std::string requiredName(const PropertyListDictionary& dictionary, const std::string& key) {
    auto name = requiredText(dictionary, key);
    if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos)
        throw HostError("Contents/Info.plist: " + inQuotes(key) +
                        " must be a plain file name, not " + inQuotes(name));
    return name;
}

}  // namespace

std::string BundleInfo::libraryInBundle() const {
    return "Contents/Linux/" + executable + ".so";
}

std::string BundleInfo::inBundle(const std::string& relative) const {
    return path + "/" + relative;
}

BundleInfo readBundleInfo(const std::string& path) {
    const PropertyListDictionary dictionary = readDictionary(path);
    BundleInfo info;
    info.path = fs::absolute(path).string();
    info.identifier = requiredText(dictionary, "CFBundleIdentifier");
    info.executable = requiredName(dictionary, "CFBundleExecutable");
    info.interfaceFile = requiredName(dictionary, "NSMainNibFile");
    info.version = optionalText(dictionary, "CFBundleVersion");
    info.productName = optionalText(dictionary, "InstallerProductName");
    info.name = optionalText(dictionary, "CFBundleName");
    if (info.name.empty()) info.name = deletePathExtension(lastPathComponent(path));
    info.sectionTitle = optionalText(dictionary, "InstallerSectionTitle");
    if (info.sectionTitle.empty()) info.sectionTitle = info.name;
    return info;
}

}  // namespace quillmoor::host
