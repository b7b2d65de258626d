// Runs programs through macho_run, in a folder of the test's own with copies of the images that it
// needs: sound ones, to be replaced or damaged.
#ifndef LOADED_PROGRAM_H
#define LOADED_PROGRAM_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "child_process.h"

// The cross-built images: the folder that MACHO_IMAGES names. The tests fail when it names none.
std::filesystem::path imagesFolder();

class LoadedProgram : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    [[nodiscard]] std::filesystem::path copied(const std::string& name) const;
    // Puts a copy of an image into the folder, in the place of one of the same file name.
    void take(const std::string& image) const;

    // macho_run with these arguments, in the folder.
    [[nodiscard]] ChildResult run(const std::vector<std::string>& arguments) const;

  private:
    std::filesystem::path folder_;
};

// That the program was not run, and that one line says why, with `reason` in it.
void expectRefused(const ChildResult& result, const std::string& reason);

#endif
