// Interface files: how a pane looks, as data in its bundle.
#pragma once

#include <QStringList>
#include <QWidget>
#include <memory>
#include <string>

#include "host/plugin/bundle_info.h"

namespace quillmoor::host {

// The bundle's interface file, for messages relative to it: Contents/Resources/<language>.lproj/
// <name>.ui of the first of `languages` ("de-AT", then "de") that has one, else
// Contents/Resources/<name>.ui. Throws HostError when there is none.
std::string findInterfaceFile(const BundleInfo& info, const QStringList& languages);

struct Interface {
    std::unique_ptr<QWidget> widget;  // hidden, without a parent
    std::string paneClass;            // the topmost widget's dynamic property of that name
};

// Throws HostError when the file cannot be read, with the line where it goes wrong, or names no
// pane class.
Interface loadInterface(const BundleInfo& info, const std::string& fileInBundle);

}  // namespace quillmoor::host
