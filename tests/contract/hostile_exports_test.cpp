// That the tables of hostile calls leave out nothing that the library exports.
#include <cxxabi.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <string>

namespace {

// The name of an exported function with arguments as the tables have it. None for what a host gives
// nothing to: tables and names of types, destructors, and members without arguments. An argument
// list is known of a name of C++ only.
std::optional<std::string> tableName(const std::string& symbol) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), &std::free);
    if (text == nullptr) {
        return symbol;
    }
    std::smatch parts;
    const std::string name = text.get();
    if (!std::regex_match(name, parts, std::regex(R"(([\w:]+)\(.+\)( const)?)"))) {
        return std::nullopt;
    }
    return std::regex_replace(parts[1].str(), std::regex("::"), "_");
}

// Names of tests and of their parameters in the suites of hostile calls.
std::set<std::string> namesInTables() {
    std::set<std::string> names;
    const testing::UnitTest& all = *testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *all.GetTestSuite(i);
        const bool isHostile = std::regex_search(suite.name(), std::regex("(^|/)Hostile"));
        for (int j = 0; isHostile && j < suite.total_test_count(); ++j) {
            const std::string name = suite.GetTestInfo(j)->name();
            names.insert(name.substr(0, name.find('/')));
            names.insert(name.substr(name.find('/') + 1));
        }
    }
    return names;
}

TEST(HostileExports, areAllInTheTables) {
    std::ifstream exports(EXPORTS);
    const std::set<std::string> names = namesInTables();
    size_t count = 0;
    for (std::string symbol; std::getline(exports, symbol); ++count) {
        if (const std::optional<std::string> name = tableName(symbol)) {
            EXPECT_THAT(names, testing::Contains(*name)) << symbol;
        }
    }
    EXPECT_GT(count, 28U);
}

}  // namespace
