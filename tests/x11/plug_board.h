/*
 * What is plugged into a test's server and where, changed at random: the same seed gives the same
 * changes. It only says what is to be; a RandrClient arranges it.
 */
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "randr_client.h"

/* A monitor as the interface describes it, by the name of its output. */
struct Seen {
    unsigned index = 0;
    std::string name;
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    bool isPrimary = false;
    unsigned frequency = 0;

    friend bool operator==(const Seen&, const Seen&) = default;
};

void PrintTo(const Seen& seen, std::ostream* out);

/* The monitors that the interface tells of, in its order. */
std::vector<Seen> seenMonitors();

class PlugBoard {
  public:
    static constexpr std::size_t kOutputs = 4;
    // A coarse grid, so that mirrors and overlaps occur too: outputs are moved to its points.
    static constexpr int kColumns = 4;
    static constexpr int kRows = 3;
    static constexpr int kColumnWidth = 320;
    static constexpr int kRowHeight = 120;

    explicit PlugBoard(unsigned seed) : random_(seed) {}

    const std::vector<Placement>& placements() const { return placements_; }
    std::optional<std::size_t> primary() const { return primary_; }

    void plugIn(const Placement& placement);

    /* Makes one change, and tells which. */
    std::string change();

    std::vector<Seen> expectedMonitors() const;

  private:
    std::size_t below(std::size_t bound) { return random_() % bound; }
    bool isPluggedIn(std::size_t output) const;
    void move(Placement& placement);
    std::string chooseMain();
    std::string plugInAnother();
    std::string plugInAgain();

    std::mt19937 random_;
    std::vector<Placement> placements_;
    std::optional<Placement> unplugged_;
    std::optional<std::size_t> primary_;
};
