// Trees of files as the C++ library handles them on macOS, and as the calls below it do.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;

class FileTree : public testing::Test {
  protected:
    FileTree() {
        std::string pattern = (fs::temp_directory_path() / "tree_test_XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        root_ = pattern;
    }
    ~FileTree() override { fs::remove_all(root_); }

    static void write(const fs::path& path, std::string_view text) { std::ofstream(path) << text; }
    static std::string read(const fs::path& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    fs::path root_;
};

TEST_F(FileTree, CopyHasTheSameBytesAndRights) {
    write(root_ / "from", std::string(100'000, 'x') + "end");
    fs::permissions(root_ / "from", fs::perms(0600));
    ASSERT_TRUE(fs::copy_file(root_ / "from", root_ / "to"));
    EXPECT_EQ(read(root_ / "to"), read(root_ / "from"));
    EXPECT_EQ(fs::status(root_ / "to").permissions(), fs::perms(0600));
}

TEST_F(FileTree, IsRemovedWithAllBelowIt) {
    fs::create_directories(root_ / "one/two/three");
    write(root_ / "one/two/file", "text");
    fs::create_symlink("/nowhere/at/all", root_ / "one/link");
    EXPECT_EQ(fs::remove_all(root_ / "one"), 5U);
    EXPECT_FALSE(fs::exists(root_ / "one"));
}

TEST_F(FileTree, RightsAndTimesAreSet) {
    write(root_ / "file", "text");
    fs::permissions(root_ / "file", fs::perms::owner_read);
    EXPECT_EQ(fs::status(root_ / "file").permissions(), fs::perms::owner_read);
    const auto earlier = fs::last_write_time(root_ / "file") - std::chrono::hours(1);
    fs::last_write_time(root_ / "file", earlier);
    EXPECT_EQ(fs::last_write_time(root_ / "file"), earlier);
}

TEST_F(FileTree, KnowsTheSpaceLeft) {
    const fs::space_info space = fs::space(root_);
    EXPECT_GT(space.capacity, 0U);
    EXPECT_LE(space.free, space.capacity);
}

TEST_F(FileTree, FilesOpenAndGoBelowADirectory) {
    const int directory = open(root_.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(directory, 0);
    const int file = openat(directory, "file", O_CREAT | O_EXCL | O_WRONLY, 0600);
    EXPECT_GE(file, 0);
    close(file);
    EXPECT_TRUE(fs::exists(root_ / "file"));
    EXPECT_EQ(unlinkat(directory, "file", AT_REMOVEDIR), -1);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(unlinkat(directory, "file", 0), 0);
    EXPECT_EQ(unlinkat(AT_FDCWD, root_.c_str(), 0), -1);
    EXPECT_EQ(errno, EPERM);
    close(directory);
}

}  // namespace
