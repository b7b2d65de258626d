// What a benchmark found, for people (lines and tables) and for programs (JSON).
#ifndef QOR_BENCH_REPORT_H
#define QOR_BENCH_REPORT_H

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace qor::bench {

class Report {
  public:
    // Begins with the name, the date, the machine and its software.
    Report(std::string name, int rounds);

    // To standard output at once, so that one can follow a long run, and kept.
    void line(const std::string& text);

    // The first row holds the headings. All rows are of one length; the first columns, as many as
    // `texts` says, and the last are aligned to the left, the others to the right.
    void table(const std::vector<std::vector<std::string>>& rows, size_t texts);

    // One more thing that the results depend on, such as the version of a library.
    void describe(const std::string& name, const std::string& value);

    // The results, for the JSON file.
    nlohmann::ordered_json& results() { return document_["results"]; }

    // Writes DATE-TIME-NAME.txt and .json into a folder that is there; throws when it cannot,
    // leaving no unfinished file.
    void write(const std::filesystem::path& directory);

  private:
    std::string name_;
    std::string time_;  // for file names, UTC
    std::string text_;
    nlohmann::ordered_json document_;
};

// "met" or "MISSED"; "" where there is no bar.
std::string verdict(double value, std::optional<double> atMost);

// "0.583", a digit more than bars have: which side of its bar it lies on can be seen.
std::string shownRatio(double ratio);

// "0.58"; "" where there is none.
std::string shownBar(std::optional<double> bar);

// To five digits: more than measuring can tell apart, and still fit to read.
double rounded(double value);

}  // namespace qor::bench

#endif
