#include "report.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "machine.h"

namespace qor::bench {

namespace {

// Writes beside the file and renames, so that a file of that name is always a whole one.
void writeFile(const std::filesystem::path& path, const std::string& content) {
    const std::filesystem::path unfinished = path.string() + ".part";
    std::ofstream file(unfinished, std::ios::binary);
    file << content;
    file.close();
    std::error_code error;
    if (file) {
        std::filesystem::rename(unfinished, path, error);
    }
    if (!file || error) {
        std::error_code ignored;
        std::filesystem::remove(unfinished, ignored);
        throw std::runtime_error(fmt::format("cannot write {}", path.string()));
    }
}

std::vector<size_t> columnWidths(const std::vector<std::vector<std::string>>& rows) {
    std::vector<size_t> widths(rows.front().size());
    for (const std::vector<std::string>& row : rows) {
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    return widths;
}

}  // namespace

Report::Report(std::string name, int rounds) : name_(std::move(name)) {
    const std::tm now = fmt::gmtime(std::time(nullptr));
    time_ = fmt::format("{:%Y-%m-%d-%H%M%S}", now);
    document_["benchmark"] = name_;
    line(fmt::format("bench {}", name_));
    describe("date", fmt::format("{:%Y-%m-%d %H:%M:%S} UTC", now));
    for (const auto& [what, value] : describeMachine()) {
        describe(what, value);
    }
    describe("turns of each", fmt::format("{}", rounds));
}

void Report::line(const std::string& text) {
    text_ += text + "\n";
    fmt::print("{}\n", text);
    std::fflush(stdout);
}

void Report::table(const std::vector<std::vector<std::string>>& rows, size_t texts) {
    const std::vector<size_t> widths = columnWidths(rows);
    for (const std::vector<std::string>& row : rows) {
        std::string text;
        for (size_t column = 0; column < row.size(); ++column) {
            const bool left = column < texts || column + 1 == row.size();
            text += left ? fmt::format("  {:<{}}", row[column], widths[column])
                         : fmt::format("  {:>{}}", row[column], widths[column]);
        }
        text.erase(text.find_last_not_of(' ') + 1);
        line(text);
    }
}

void Report::describe(const std::string& name, const std::string& value) {
    document_["measured with"][name] = value;
    line(fmt::format("  {:<14} {}", name, value));
}

void Report::write(const std::filesystem::path& directory) {
    const std::filesystem::path stem = directory / fmt::format("{}-{}", time_, name_);
    writeFile(stem.string() + ".txt", text_);
    writeFile(stem.string() + ".json", document_.dump(2) + "\n");
    fmt::print("written: {}.txt and .json\n", stem.string());
}

std::string verdict(double value, std::optional<double> atMost) {
    if (!atMost) {
        return "";
    }
    return value <= *atMost ? "met" : "MISSED";
}

std::string shownRatio(double ratio) {
    return fmt::format("{:.3f}", ratio);
}

std::string shownBar(std::optional<double> bar) {
    return bar ? fmt::format("{:.2f}", *bar) : "";
}

double rounded(double value) {
    return std::stod(fmt::format("{:.5g}", value));
}

}  // namespace qor::bench
