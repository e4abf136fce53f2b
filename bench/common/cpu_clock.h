#ifndef KSR_BENCH_CPU_CLOCK_H
#define KSR_BENCH_CPU_CLOCK_H

// CPU time of the whole process (not wall time): the machine is shared, and
// the figures must not move with other people's load.

#include <algorithm>
#include <cmath>
#include <ctime>
#include <vector>

namespace Bench {

inline double cpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const std::size_t mid = values.size() / 2;
    return values.size() % 2 ? values[mid] : (values[mid - 1] + values[mid]) / 2.0;
}

// The p-quantile (0..1) of the values, interpolated between neighbours;
// not-a-number for none.
inline double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return NAN;
    std::sort(values.begin(), values.end());
    const double rank = p * static_cast<double>(values.size() - 1);
    const std::size_t low = static_cast<std::size_t>(std::floor(rank));
    const std::size_t high = static_cast<std::size_t>(std::ceil(rank));
    return values[low] + (values[high] - values[low]) * (rank - static_cast<double>(low));
}

}  // namespace Bench

#endif
