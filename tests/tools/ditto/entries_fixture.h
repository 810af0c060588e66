// Entries as an archive would have them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tools/ditto/entry.h"

namespace quillmoor::test {

using Paths = std::vector<std::string>;

class EntriesFixture : public testing::Test {
  protected:
    // The entry is a folder if its name ends in a slash.
    ditto::Entry& add(std::string_view name, ditto::Entry::Kind kind = ditto::Entry::Kind::File) {
        ditto::Entry entry;
        entry.name = name;
        entry.kind = name.ends_with('/') ? ditto::Entry::Kind::Folder : kind;
        entry.dataOffset = entries_.size();
        return entries_.emplace_back(entry);
    }

    template <typename Items>
    static Paths pathsOf(const Items& items) {
        Paths paths;
        for (const auto& item : items) paths.emplace_back(item.path);
        return paths;
    }

    std::vector<ditto::Entry> entries_;
};

}  // namespace quillmoor::test
