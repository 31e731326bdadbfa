#pragma once

#include <algorithm>
#include <ctime>

/// How many times more processor time `work(8 * n)` takes than `work(n)`: about 8 for what grows linearly,
/// about 64 for what grows with the square. The better of three runs of each.
template <class Work>
double growth(Work work, int n = 4000)
{
    const auto cost = [&](int size) {
        std::clock_t best = 0;
        for (int run = 0; run < 3; ++run) {
            const std::clock_t begin = std::clock();
            work(size);
            const std::clock_t taken = std::clock() - begin;
            best = run == 0 ? taken : std::min(best, taken);
        }
        return static_cast<double>(std::max<std::clock_t>(best, 1));
    };
    return cost(8 * n) / cost(n);
}
inline constexpr double FarFromQuadratic = 30;
