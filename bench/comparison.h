// A table of cases in which some contenders are held against one of them.
#ifndef QOR_BENCH_COMPARISON_H
#define QOR_BENCH_COMPARISON_H

#include <optional>
#include <string>
#include <vector>

#include "report.h"
#include "turns.h"

namespace qor::bench {

struct Compared {
    std::string contender;
    Timing timing;
    std::optional<double> bar;  // time against the reference, at most
};

class Comparison {
  public:
    // The reference is the name of the contender that the others are held against in every case.
    explicit Comparison(std::string reference);

    // Throws when the reference is not among them.
    void add(const std::string& caseName, const std::vector<Compared>& entries);

    // Prints the table under a title and keeps the results under the same; nothing without cases.
    void reportTo(const std::string& title, Report& report) const;

  private:
    std::string reference_;
    std::vector<std::vector<std::string>> rows_;
    nlohmann::ordered_json results_;
};

}  // namespace qor::bench

#endif
