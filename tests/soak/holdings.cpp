#include "holdings.h"

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "require.h"

namespace {

constexpr std::chrono::seconds kEndBound{20};
// Resident memory goes up and down by what is kept for the next thread and the next allocation;
// with sanitizers also by freed memory that they hold back, and by their books.
constexpr double kMostGrowthInUse = 256;
constexpr double kMostGrowthResident = kIsSanitized ? 64 * 1024 : 16 * 1024;

std::size_t residentKiB() {
    std::ifstream file("/proc/self/statm");
    std::size_t pages = 0;
    file >> pages >> pages;
    require(pages > 0, "the process's memory is to be seen");
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

std::size_t countThreads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

bool fit(const ProcessResources& now, const ProcessResources& bound) {
    return now.descriptors <= bound.descriptors && now.imageMappings <= bound.imageMappings &&
           now.systemVSegments <= bound.systemVSegments;
}

/* Of the straight line through the values, from the first to the last. */
double rise(const std::vector<Memory>& measured, std::size_t Memory::*part) {
    const auto count = static_cast<double>(measured.size());
    double sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    double x = 0;
    for (const Memory& memory : measured) {
        const auto y = static_cast<double>(memory.*part);
        sumX += x;
        sumY += y;
        sumXX += x * x;
        sumXY += x * y;
        x += 1;
    }
    const double slope = (count * sumXY - sumX * sumY) / (count * sumXX - sumX * sumX);
    return slope * (count - 1);
}

}  // namespace

Memory Memory::now() {
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    return {(heap.uordblks + heap.hblkhd) / 1024, residentKiB()};
}

/* A sanitizer starts a thread of its own along with a process's first. */
Holdings::Holdings() {
    std::thread([] {}).join();
    threads_ = countThreads();
}

/* A thread that has told its end may still be seen for a moment, with its connection. */
void Holdings::check() {
    const auto deadline = std::chrono::steady_clock::now() + kEndBound;
    const auto isFitting = [this] {
        return countThreads() <= threads_ &&
               (!resources_ || fit(ProcessResources::now(), *resources_));
    };
    while (!isFitting()) {
        if (std::chrono::steady_clock::now() > deadline) {
            std::ostringstream text;
            text << "nothing more is held than the first time; there are " << countThreads()
                 << " threads for " << threads_ << ", ";
            PrintTo(ProcessResources::now(), &text);
            if (resources_) {
                text << "; the first time ";
                PrintTo(*resources_, &text);
            }
            throw Broken(text.str());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (!resources_)
        resources_ = ProcessResources::now();
    memory_.push_back(Memory::now());
}

/* The first quarter is the warm-up. */
std::optional<Holdings::Growth> Holdings::growth() const {
    constexpr std::size_t kFewest = 12;
    const std::vector measured(memory_.begin() + static_cast<std::ptrdiff_t>(memory_.size() / 4),
                               memory_.end());
    if (measured.size() < kFewest)
        return std::nullopt;
    return Growth{rise(measured, &Memory::inUse), rise(measured, &Memory::resident)};
}

void Holdings::checkGrowth() const {
    const Growth now = growth().value_or(Growth{});
    require(now.inUse <= kMostGrowthInUse && now.resident <= kMostGrowthResident,
            "memory does not grow; it did by " + std::to_string(now.inUse) + " KiB in use and " +
                std::to_string(now.resident) + " KiB resident");
}
