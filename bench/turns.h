// Times contenders against each other in one run: they take turns in random order, so that what
// else the machine does meets all of them alike.
#ifndef QOR_BENCH_TURNS_H
#define QOR_BENCH_TURNS_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace qor::bench {

struct Contender {
    std::string name;  // differs from every other in the run
    int turns;
    // One turn: loops over the state. One that sets iteration times itself is timed by those.
    std::function<void(benchmark::State&)> turn;
    bool setsTimes = false;
};

// Of one call, over the turns.
struct Timing {
    double median;  // milliseconds
    double spread;  // interquartile range, as a part of the median
};

// One timing for each contender, in their order. A turn is some milliseconds long, one call at
// least.
std::vector<Timing> timeInTurns(const std::vector<Contender>& contenders);

// A turn of one call again and again.
void repeat(benchmark::State& state, const std::function<void()>& call);

// A turn in which `prepare` runs untimed before each timed `call`.
void timeAfter(benchmark::State& state, const std::function<void()>& prepare,
               const std::function<void()>& call);

}  // namespace qor::bench

#endif
