// The counters as they are kept between two runs.
#pragma once

#include <QString>
#include <vector>

namespace quillmoor::tallyframe {

struct Counter {
    QString name;
    int value = 0;
};

using Counters = std::vector<Counter>;

// Counters.json in the product's folder of the user's Application Support.
QString counterFile();

// The counters in a file; on the first run those in `defaults`. What is no counter is left out.
Counters readCounters(const QString& file, const QString& defaults);

// Makes the folder and replaces the file as a whole; NO when that failed, and the old file stays.
bool writeCounters(const QString& file, const Counters& counters);

}  // namespace quillmoor::tallyframe
