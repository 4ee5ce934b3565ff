// Clocks for the benchmark programs: wall time between two points, the processor time of the
// calling thread, and the peak resident memory of the process. Figures only; nothing here is
// used by the tool itself.
#pragma once

#include <sys/resource.h>
#include <time.h>

#include <chrono>

namespace qx::bench {

using Clock = std::chrono::steady_clock;

inline double ms(Clock::time_point a, Clock::time_point b) {
    return std::chrono::duration<double, std::milli>(b - a).count();
}

// Processor time used by this thread so far, in milliseconds.
inline double cpuMs() {
    struct timespec t {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Peak resident memory of the process so far, in kB.
inline long peakKb() {
    struct rusage u {};
    ::getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss;
}

}  // namespace qx::bench
