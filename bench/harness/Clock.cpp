#include "harness/Clock.h"

#include <sys/resource.h>

namespace qx::bench {
namespace {

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double cpuSeconds(const rusage& usage) {
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

rusage usageOf(int whose) {
    rusage usage{};
    getrusage(whose, &usage);
    return usage;
}

}  // namespace

Usage usageSoFar() {
    const rusage thread = usageOf(RUSAGE_THREAD);
    const rusage programs = usageOf(RUSAGE_CHILDREN);
    return {cpuSeconds(thread) + cpuSeconds(programs), static_cast<double>(thread.ru_minflt + programs.ru_minflt)};
}

}  // namespace qx::bench
