// The machine and the software that a result was measured with.
#ifndef QOR_BENCH_MACHINE_H
#define QOR_BENCH_MACHINE_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace qor::bench {

// The largest cache that the system tells of; a generous guess where it tells of none.
size_t lastLevelCacheBytes();

// What to record beside every result: name and value, in the order to print.
std::vector<std::pair<std::string, std::string>> describeMachine();

}  // namespace qor::bench

#endif
