// The host's own sections, and the one that stands in for a bundle that could not be loaded.
#pragma once

#include <QString>
#include <memory>
#include <string>

#include "host/sections/section.h"

namespace quillmoor::host {

// How the product is called, inside a sentence and at its beginning.
struct ProductName {
    QString inSentence;
    QString atStart;

    // "" gives a description instead of a name.
    static ProductName of(const QString& name);
};

std::unique_ptr<Section> makeIntroduction(const ProductName& product);
std::unique_ptr<Section> makeSummary(const ProductName& product);

// `subject` is a path or a name, `reason` says why it is no section.
std::unique_ptr<Section> makeProblemSection(const std::string& subject, const std::string& reason);

}  // namespace quillmoor::host
