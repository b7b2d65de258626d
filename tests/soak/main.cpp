/*
 * capture_soak: drives eight captures at random for a time, and checks all that can be seen of
 * them; or kills their display server so many times, and sees to it that they go on.
 *
 *   capture_soak [--seconds S | --kills K] [--seed N] [--journal FILE]
 *
 * Exit status: 0 when all was as it must be, 1 when something was not, 2 when the command is wrong.
 */
#include <charconv>
#include <cstdio>
#include <iostream>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "journal.h"
#include "require.h"
#include "server_kills.h"
#include "soak.h"

namespace {

struct Options {
    unsigned seconds = 1800;
    unsigned kills = 0;
    unsigned seed = std::random_device()();
    std::string journal;
};

std::optional<unsigned> numberIn(std::string_view text) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<Options> parse(int argc, char** argv) {
    Options options;
    if (argc % 2 == 0)
        return std::nullopt;
    for (int i = 1; i < argc; i += 2) {
        const std::string_view name = argv[i];
        const std::optional<unsigned> number = numberIn(argv[i + 1]);
        if (name == "--journal")
            options.journal = argv[i + 1];
        else if (name == "--seconds" && number)
            options.seconds = *number;
        else if (name == "--kills" && number)
            options.kills = *number;
        else if (name == "--seed" && number)
            options.seed = *number;
        else
            return std::nullopt;
    }
    return options;
}

void printMemory(const Holdings& holdings) {
    if (holdings.memory().empty())
        return;
    const Memory& first = holdings.memory().front();
    const Memory& last = holdings.memory().back();
    std::cout << "memory then: " << first.inUse << " to " << last.inUse << " KiB in use"
              << (kIsSanitized ? " (not told in this build), " : ", ") << first.resident << " to "
              << last.resident << " KiB resident; ";
    if (const std::optional<Holdings::Growth> growth = holdings.growth())
        std::cout << "the trend is " << growth->inUse << " and " << growth->resident << " KiB\n";
    else
        std::cout << "too few times for a trend\n";
}

void report(const Tally& tally, const Holdings& holdings, const Journal& journal) {
    std::cout << journal.operations() << " operations, " << tally.frames
              << " frames checked: " << tally.framesWithout << " with windows left out, "
              << tally.settledFrames << " equal to the scene\n"
              << tally.stops << " starts and stops, the longest " << tally.longestStop.count()
              << " ms\n"
              << holdings.memory().size() << " times with all stopped: " << holdings.threads()
              << " threads, ";
    if (holdings.resources())
        PrintTo(*holdings.resources(), &std::cout);
    std::cout << '\n';
    printMemory(holdings);
}

void drive(const Options& options, Journal& journal) {
    if (options.kills > 0) {
        ServerKills kills(options.seed, journal);
        kills.run(options.kills);
        report(kills.tally(), kills.holdings(), journal);
    } else {
        Soak soak(options.seed, journal);
        soak.run(std::chrono::seconds(options.seconds));
        report(soak.tally(), soak.holdings(), journal);
    }
}

int run(const Options& options) {
    std::cout << "seed " << options.seed << std::endl;
    Journal journal(options.journal);
    try {
        drive(options, journal);
        return 0;
    } catch (const std::exception& error) {
        std::cout << "the last operations:\n";
        journal.printTail(std::cout);
        std::cout << "FAILED with seed " << options.seed << ": " << error.what() << std::endl;
        return 1;
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = parse(argc, argv);
    if (!options) {
        std::fputs("usage: capture_soak [--seconds S | --kills K] [--seed N] [--journal FILE]\n",
                   stderr);
        return 2;
    }
    try {
        return run(*options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "capture_soak: %s\n", error.what());
        return 1;
    }
}
