// Saves the counters between two runs.
#pragma once

#include <QString>
#include <vector>

namespace quillmoor::tallyframe {

constexpr int kMostCounted = 999999;

struct Counter {
    QString name;
    int value = 0;  // 0 to kMostCounted
};

using Counters = std::vector<Counter>;

struct SavedCounters {
    Counters counters;
    bool isDamaged = false;  // the file exists, but not all of it could be read as counters
};

// The path of Counters.json in the product's folder of the user's Application Support.
QString counterFile();

// Returns the counters in `file`; on the first run those in `defaults`. Elements that are not
// counters are left out.
SavedCounters readCounters(const QString& file, const QString& defaults);

// Moves a damaged file to a free name in its folder and never replaces another. Returns the name;
// "" if the file could not be moved and is still in its place.
QString keepDamaged(const QString& file);

// Creates the folder and replaces the file atomically. Returns false if that failed; then the old
// file is unchanged.
bool writeCounters(const QString& file, const Counters& counters);

}  // namespace quillmoor::tallyframe
