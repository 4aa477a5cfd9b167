#ifndef ZORNX_BENCH_BENCHTIMING_H
#define ZORNX_BENCH_BENCHTIMING_H

#include <QtCore/QElapsedTimer>

#include <algorithm>
#include <functional>

// Seconds of the fastest of rounds runs of work.
inline double bestSeconds(int rounds, const std::function<void()> &work)
{
    double fastest = 1e30;
    for (int r = 0; r < rounds; ++r) {
        QElapsedTimer timer;
        timer.start();
        work();
        fastest = std::min(fastest, timer.nsecsElapsed() / 1e9);
    }
    return fastest;
}

#endif
