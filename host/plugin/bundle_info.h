// The entries of a bundle's information dictionary that describe its pane.
#pragma once

#include <string>

namespace quillmoor::host {

struct BundleInfo {
    std::string path;           // the bundle's folder, absolute
    std::string name;           // CFBundleName, else the folder's name without its extension
    std::string identifier;     // CFBundleIdentifier
    std::string version;        // CFBundleVersion; "" if there is none
    std::string executable;     // CFBundleExecutable
    std::string interfaceFile;  // NSMainNibFile: the interface file's name without extension
    std::string sectionTitle;   // InstallerSectionTitle, else `name`
    std::string productName;    // InstallerProductName; "" if there is none

    // The path inside the bundle, also for messages: Contents/Linux/<executable>.so.
    std::string libraryInBundle() const;
    std::string inBundle(const std::string& relative) const;
};

// Reads Contents/Info.plist, XML or binary. Throws HostError if the bundle or a required key is
// missing, or if a name would lead out of the bundle.
BundleInfo readBundleInfo(const std::string& path);

}  // namespace quillmoor::host
