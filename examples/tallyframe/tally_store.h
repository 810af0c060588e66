// Saves the counters between two runs.
#pragma once

#include <QString>
#include <vector>

namespace quillmoor::tallyframe {

struct Counter {
    QString name;
    int value = 0;
};

using Counters = std::vector<Counter>;

// The path of Counters.json in the product's folder of the user's Application Support.
QString counterFile();

// Returns the counters in `file`; on the first run those in `defaults`. Elements that are not
// counters are left out.
Counters readCounters(const QString& file, const QString& defaults);

// Creates the folder and replaces the file atomically. Returns false if that failed; then the old
// file is unchanged.
bool writeCounters(const QString& file, const Counters& counters);

}  // namespace quillmoor::tallyframe
