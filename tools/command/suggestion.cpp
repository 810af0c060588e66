#include "tools/command/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace quillmoor::command {
namespace {

using Row = std::vector<std::size_t>;

// The optimal string alignment: row i has the distances of the first i characters to each beginning
// of `to`.
std::size_t distance(std::string_view from, std::string_view to) {
    Row beforeLast;
    Row last(to.size() + 1);
    std::iota(last.begin(), last.end(), 0U);
    for (std::size_t i = 1; i <= from.size(); ++i) {
        Row row(to.size() + 1, i);
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t differs = from[i - 1] == to[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + differs});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = std::move(last);
        last = std::move(row);
    }
    return last.back();
}

}  // namespace

std::string nearest(std::string_view word, const std::vector<std::string>& candidates) {
    std::string best;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t changes = distance(word, candidate);
        if (changes >= least) continue;
        least = changes;
        best = candidate;
    }
    return best;
}

}  // namespace quillmoor::command
