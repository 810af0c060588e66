// The host's own sections, and the one that replaces a bundle that could not be loaded.
#pragma once

#include <QString>
#include <memory>
#include <string>

#include "host/sections/section.h"

namespace quillmoor::host {

// The product's name, for the middle of a sentence and for its beginning.
struct ProductName {
    QString inSentence;
    QString atStart;

    // For "" the product is described instead of named.
    static ProductName of(const QString& name);
};

std::unique_ptr<Section> makeIntroduction(const ProductName& product);
std::unique_ptr<Section> makeSummary(const ProductName& product);

// `subject` is a path or a name; `reason` is why it cannot be shown as a section.
std::unique_ptr<Section> makeProblemSection(const std::string& subject, const std::string& reason);

}  // namespace quillmoor::host
