/* What the tests of the command-line host share: a directory of their own and ways to run it. */
#ifndef TESTS_TOOLS_CAPMGR_FIXTURE_H
#define TESTS_TOOLS_CAPMGR_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "child_process.h"
#include "picture.h"

/* Each test starts with an empty directory, which is where its programs run. */
class CapmgrTest : public testing::Test {
  protected:
    CapmgrTest();
    ~CapmgrTest() override;

    /* capmgr with these arguments on that display. */
    ChildSetup capmgr(const std::string& display, const std::vector<std::string>& arguments) const;
    ChildResult runCapmgr(const std::string& display,
                          const std::vector<std::string>& arguments) const;

    ChildSetup program(const std::string& path, const std::string& display) const;

    std::filesystem::path file(const std::string& name) const { return directory_ / name; }
    void makeFile(const std::string& name, const std::string& content) const;

    /* Every name in the directory and below, sorted. */
    std::vector<std::string> names() const;

  private:
    std::filesystem::path directory_;
};

/* The lines of a text without their ends; an end that is missing is a line of its own: "...". */
std::vector<std::string> linesOf(const std::string& text);

/* A failure as it has to be: that exit status and one line that tells what is wrong. */
void expectRefusal(const ChildResult& result, int status, const std::string& part);

/* The number that begins the summary's row of that name; -1 when there is no such row. */
double summaryNumber(const std::string& summary, const std::string& row);

#endif
