// That no platform but the scripted one is there, where it is a library like any other: the real
// one has the same name and lies with the library under test.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::EndsWith;

std::vector<std::string> loadedLibraries(const std::string& fileName) {
    struct Search {
        std::string fileName;
        std::vector<std::string> found;
    } search{fileName, {}};
    dl_iterate_phdr(
        [](dl_phdr_info* library, size_t, void* context) {
            auto* const state = static_cast<Search*>(context);
            if (std::filesystem::path(library->dlpi_name).filename() == state->fileName) {
                state->found.push_back(std::filesystem::canonical(library->dlpi_name));
            }
            return 0;
        },
        &search);
    return search.found;
}

TEST(LoadedPlatform, isTheScriptedOneAlone) {
    EXPECT_THAT(loadedLibraries("libqor_coregraphics.so"),
                ElementsAre(EndsWith("/tests/fakes/libqor_coregraphics.so")));
}

}  // namespace
