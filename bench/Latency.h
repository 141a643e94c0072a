#pragma once
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace marrowleaf::bench {

// The sample below which `share` of the samples lie (nearest rank).
inline double percentile(std::vector<double> samples, double share) {
    std::ranges::sort(samples);
    const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(samples.size()))) - 1;
    return samples[std::min(rank, samples.size() - 1)];
}

// The benchmark's one line of figures: "<name> median X p95 Y", in milliseconds.
inline void printLatency(const std::string& name, const std::vector<double>& samples) {
    std::printf("%s median %.1f p95 %.1f\n", name.c_str(), percentile(samples, 0.5), percentile(samples, 0.95));
}

}
