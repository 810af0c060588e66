// Interface files: the description of a pane's widgets in its bundle.
#pragma once

#include <QStringList>
#include <QWidget>
#include <memory>
#include <string>

#include "host/plugin/bundle_info.h"

namespace quillmoor::host {

// Returns the path of the interface file inside the bundle: Contents/Resources/<language>.lproj/
// <name>.ui of the first of `languages` ("de-AT", then "de") that has one, else
// Contents/Resources/<name>.ui. Throws HostError if there is none.
std::string findInterfaceFile(const BundleInfo& info, const QStringList& languages);

struct Interface {
    std::unique_ptr<QWidget> widget;  // hidden, without a parent
    std::string paneClass;            // the topmost widget's dynamic property of that name
};

// Throws HostError if the file cannot be read, with the line of the mistake, or does not name a
// pane class.
Interface loadInterface(const BundleInfo& info, const std::string& fileInBundle);

}  // namespace quillmoor::host
