// Computes and prints the table rows of the benchmarks.
#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace quillmoor::bench {

inline double median(std::vector<double> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// The value below which the share `part` of all values is.
inline double quantile(std::vector<double> values, double part) {
    if (values.empty()) return 0;
    const auto index = static_cast<std::size_t>(part * static_cast<double>(values.size() - 1));
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(index);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

enum class Better { Lower, Higher };

// The median of the rounds' ratios. A disturbance of the machine affects both sides of a round.
inline double medianRatio(const std::vector<double>& ours, const std::vector<double>& peer) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < std::min(ours.size(), peer.size()); ++i)
        ratios.push_back(ours[i] / peer[i]);
    return median(ratios);
}

// Prints one row: medians of the rounds, and the ratio. `why` is the reason of a missed target.
inline void printRow(const std::string& work, const std::vector<double>& ours,
                     const std::vector<double>& peer, const char* unit, double target,
                     Better better, const std::string& why = "") {
    const double ratio = medianRatio(ours, peer);
    const bool met = better == Better::Lower ? ratio <= target : ratio >= target;
    std::printf("%s | %.4g %s | %.4g %s | %.2f | %s %.2f | %s%s\n", work.c_str(), median(ours),
                unit, median(peer), unit, ratio, better == Better::Lower ? "<=" : ">=", target,
                met ? "met" : "NOT met", met || why.empty() ? "" : (": " + why).c_str());
    std::fflush(stdout);
}

}  // namespace quillmoor::bench
