// What the command prints on standard output.
#pragma once

#include <string>
#include <vector>

#include "tools/version-check/product_state.h"
#include "tools/version-check/removal.h"

namespace quillmoor::version_check {

// A line for people, with its end. Control characters of a path or a version are escaped.
std::string sentence(const Product& product, const OptionalString& comparedWith);
std::string sentence(const Removal& removal);

// One JSON object, with a line's end. Bytes that are not UTF-8 are replaced.
//   {"product": …, "state": "absent|older|same|newer|installed", "path": …, "version": …,
//    "comparedWith": …, "removal": {"outcome": "opened|removed|left|timed out|interrupted|not
//    unpacked|not started",
//      "uninstaller": …, "reason": …, "output": […]}}
// What is not known is null; "removal" is there if the product was to be removed.
std::string json(const Product& product, const OptionalString& comparedWith);
std::string json(const Product& product, const OptionalString& comparedWith, const Removal& removal,
                 const std::vector<std::string>& output);

}  // namespace quillmoor::version_check
