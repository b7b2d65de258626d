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

// Those whose file's name begins so, whatever their version.
std::vector<std::string> loadedLibraries(const std::string& beginning) {
    struct Search {
        std::string beginning;
        std::vector<std::string> found;
    } search{beginning, {}};
    dl_iterate_phdr(
        [](dl_phdr_info* library, size_t, void* context) {
            auto* const state = static_cast<Search*>(context);
            const std::filesystem::path path(library->dlpi_name);
            if (path.filename().string().starts_with(state->beginning)) {
                state->found.push_back(std::filesystem::canonical(path));
            }
            return 0;
        },
        &search);
    return search.found;
}

TEST(LoadedPlatform, isTheScriptedOneAlone) {
    EXPECT_THAT(loadedLibraries("libqor_coregraphics.so"),
                ElementsAre(EndsWith("/tests/fakes/libqor_coregraphics" LIBRARY_SUFFIX)));
}

}  // namespace
