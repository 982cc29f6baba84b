#pragma once

namespace qx::bench {

// What the thread, and the programs that it ran to their ends, have used so far.
struct Usage {
    double cpuSeconds = 0.0;
    double pageFaults = 0.0;

    Usage operator-(const Usage& before) const {
        return {cpuSeconds - before.cpuSeconds, pageFaults - before.pageFaults};
    }
};

Usage usageSoFar();

}  // namespace qx::bench
