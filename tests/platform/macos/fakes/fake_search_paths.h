// The system's standard folders and homes as fakes: what is found here is this system's own.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace quillmoor::test {

// One at a time, as long as it lives. Without one the real functions are called.
class FakeSearchPaths {
  public:
    FakeSearchPaths();
    ~FakeSearchPaths();
    FakeSearchPaths(const FakeSearchPaths&) = delete;
    FakeSearchPaths& operator=(const FakeSearchPaths&) = delete;

    struct Search {
        unsigned long directory = 0, domain = 0;
        bool expandsTilde = false;
        bool operator==(const Search&) const = default;
    };
    std::vector<Search> searches;
    std::vector<std::string> found;
    std::map<std::string, std::string> homes;
    std::string homeOfNoName;  // none if empty
    std::string temporary;     // if empty, the real function's
    std::string cacheFolder;   // of confstr
};

}  // namespace quillmoor::test
