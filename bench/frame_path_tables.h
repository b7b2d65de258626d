// The measurements of a run, each made once, and the tables that hold them against each other.
#ifndef QOR_BENCH_FRAME_PATH_TABLES_H
#define QOR_BENCH_FRAME_PATH_TABLES_H

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "frame_path_run.h"
#include "report.h"

namespace qor::bench {

// CPU of one finished frame, milliseconds.
struct Cost {
    double taker;
    double server;  // less what it does with nobody taking frames

    double together() const { return taker + server; }
};

class Measurements {
  public:
    explicit Measurements(int turns) : turns_(turns) {}

    // Measured when it is first asked for, which standard error tells.
    const Usage& usage(const RunPlan& plan);
    Cost cost(const RunPlan& plan);
    Latency latency(const RunPlan& plan);

    // All that was measured, for the JSON.
    void reportTo(Report& report) const;

  private:
    int turns_;
    std::map<std::string, Usage> usages_;
};

// Ours and the peers, of the same scene.
class PeerTable {
  public:
    void add(const std::string& caseName, const RunPlan& ours, double bar, Measurements& measured);
    void reportTo(Report& report) const;

  private:
    std::vector<std::vector<std::string>> rows_;
    nlohmann::ordered_json results_;
};

// What one number of ours may be, against another of ours.
class RatioTable {
  public:
    // The headings of what is held against what.
    RatioTable(std::string title, std::string measured, std::string reference);

    void add(const std::string& caseName, double measuredMs, double referenceMs, double bar);
    void reportTo(Report& report) const;

  private:
    std::string title_;
    std::vector<std::vector<std::string>> rows_;
    nlohmann::ordered_json results_;
};

// How evenly frames come, and how old they are.
class PaceTable {
  public:
    PaceTable();

    // The latency as well, but for one window alone, which does not show numbers.
    void add(const std::string& caseName, const RunPlan& ours, Measurements& measured);
    void reportTo(Report& report) const;

  private:
    std::vector<std::vector<std::string>> rows_;
    nlohmann::ordered_json results_;
};

// Cost by size of the screen and number of captures.
class ScaleTable {
  public:
    ScaleTable();

    void add(const RunPlan& ours, Measurements& measured);
    void reportTo(Report& report) const;

  private:
    std::vector<std::vector<std::string>> rows_;
    nlohmann::ordered_json results_;
};

}  // namespace qor::bench

#endif
