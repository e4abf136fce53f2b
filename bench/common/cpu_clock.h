#ifndef KSR_BENCH_CPU_CLOCK_H
#define KSR_BENCH_CPU_CLOCK_H

// CPU time of the whole process (not wall time): the machine is shared, and
// the figures must not move with other people's load.

#include <algorithm>
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

}  // namespace Bench

#endif
