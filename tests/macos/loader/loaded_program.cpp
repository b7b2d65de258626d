#include "loaded_program.h"

#include <gmock/gmock.h>
#include <stdlib.h>

#include <algorithm>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

constexpr int kCannotRun = 127;

}  // namespace

fs::path imagesFolder() {
    const char* const folder = std::getenv("MACHO_IMAGES");
    if (folder == nullptr || !fs::exists(fs::path(folder) / "greeting_program")) {
        throw std::runtime_error("MACHO_IMAGES does not name the folder of the cross-built images");
    }
    return folder;
}

void LoadedProgram::SetUp() {
    std::string name = (fs::temp_directory_path() / "loaded-program-XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    take("greeting_program");
    take("libgreeting.dylib");
}

void LoadedProgram::TearDown() {
    if (!folder_.empty()) {
        fs::remove_all(folder_);
    }
}

fs::path LoadedProgram::copied(const std::string& name) const {
    return folder_ / name;
}

void LoadedProgram::take(const std::string& image) const {
    const fs::path source = imagesFolder() / image;
    fs::copy_file(source, folder_ / source.filename(), fs::copy_options::overwrite_existing);
}

ChildResult LoadedProgram::run(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {MACHO_RUN};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runToEnd({command, "", folder_});
}

void expectRefused(const ChildResult& result, const std::string& reason) {
    EXPECT_EQ(result.status, kCannotRun);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_THAT(result.errors, testing::HasSubstr(reason));
}
