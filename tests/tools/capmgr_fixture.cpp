#include "capmgr_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

CapmgrTest::CapmgrTest() {
    std::string pattern = (fs::temp_directory_path() / "capmgr-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no directory for the test: " + pattern);
    }
    directory_ = fs::canonical(pattern);
}

CapmgrTest::~CapmgrTest() {
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
}

ChildSetup CapmgrTest::capmgr(const std::string& display,
                              const std::vector<std::string>& arguments) const {
    ChildSetup setup = program(CAPMGR_PROGRAM, display);
    setup.command.insert(setup.command.end(), arguments.begin(), arguments.end());
    return setup;
}

ChildResult CapmgrTest::runCapmgr(const std::string& display,
                                  const std::vector<std::string>& arguments) const {
    return runToEnd(capmgr(display, arguments));
}

ChildSetup CapmgrTest::program(const std::string& path, const std::string& display) const {
    return {{path}, display, directory_, OutputKind::Pipe};
}

void CapmgrTest::makeFile(const std::string& name, const std::string& content) const {
    std::ofstream(file(name)) << content;
}

std::vector<std::string> CapmgrTest::names() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory_)) {
        names.push_back(entry.path().lexically_relative(directory_).string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    if (!text.empty() && text.back() != '\n') {
        lines.emplace_back("...");
    }
    return lines;
}

void expectRefusal(const ChildResult& result, int status, const std::string& part) {
    EXPECT_EQ(result.status, status);
    const std::vector<std::string> lines = linesOf(result.errors);
    ASSERT_EQ(lines.size(), 1U) << result.errors;
    EXPECT_THAT(lines[0], StartsWith("capmgr: "));
    EXPECT_THAT(lines[0], HasSubstr(part));
}

double summaryNumber(const std::string& summary, const std::string& row) {
    for (const std::string& line : linesOf(summary)) {
        if (line.compare(0, row.size() + 1, row + " ") == 0) {
            return std::strtod(line.c_str() + row.size(), nullptr);
        }
    }
    return -1.0;
}
