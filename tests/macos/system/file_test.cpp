// Files, directories and mapped memory as on macOS.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <set>
#include <string>

namespace {

class File : public testing::Test {
  protected:
    File() {
        std::array<char, 32> pattern{"/tmp/system_test_XXXXXX"};
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        directory_ = pattern.data();
        path_ = directory_ + "/file";
    }
    ~File() override {
        unlink(path_.c_str());
        rmdir(directory_.c_str());
    }

    int create(int flags = 0) {
        return open(path_.c_str(), O_CREAT | O_EXCL | O_RDWR | flags, 0640);
    }

    std::string directory_;
    std::string path_;
};

TEST_F(File, ExclusiveCreationFailsForOneThatExists) {
    const int file = create();
    ASSERT_GE(file, 0);
    EXPECT_EQ(create(), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(close(file), 0);
}

TEST_F(File, StatusTellsWhatWasWritten) {
    const time_t before = std::time(nullptr);
    const int file = create();
    ASSERT_EQ(write(file, "twelve bytes", 12), 12);
    struct stat byPath {};
    struct stat byDescriptor {};
    ASSERT_EQ(stat(path_.c_str(), &byPath), 0);
    ASSERT_EQ(fstat(file, &byDescriptor), 0);
    close(file);
    EXPECT_TRUE(S_ISREG(byPath.st_mode));
    EXPECT_EQ(byPath.st_mode & 0777, 0640);
    EXPECT_EQ(byPath.st_size, 12);
    EXPECT_EQ(byPath.st_nlink, 1);
    EXPECT_EQ(byPath.st_uid, getuid());
    EXPECT_GE(byPath.st_mtimespec.tv_sec, before - 1);
    EXPECT_LE(byPath.st_mtimespec.tv_sec, std::time(nullptr) + 1);
    EXPECT_EQ(byPath.st_ino, byDescriptor.st_ino);
}

TEST_F(File, StatusOfALinkIsItsOwn) {
    ASSERT_EQ(symlink("/", path_.c_str()), 0);
    struct stat link {};
    struct stat target {};
    EXPECT_EQ(lstat(path_.c_str(), &link), 0);
    EXPECT_EQ(stat(path_.c_str(), &target), 0);
    EXPECT_TRUE(S_ISLNK(link.st_mode));
    EXPECT_TRUE(S_ISDIR(target.st_mode));
}

TEST_F(File, AppendingWritesAtTheEnd) {
    const int file = create(O_APPEND);
    EXPECT_EQ(fcntl(file, F_GETFL) & (O_ACCMODE | O_APPEND | O_NONBLOCK), O_RDWR | O_APPEND);
    EXPECT_EQ(write(file, "one", 3), 3);
    EXPECT_EQ(lseek(file, 0, SEEK_SET), 0);
    EXPECT_EQ(write(file, "two", 3), 3);
    std::array<char, 7> text{};
    EXPECT_EQ(pread(file, text.data(), 6, 0), 6);
    EXPECT_STREQ(text.data(), "onetwo");
    close(file);
}

TEST_F(File, DescriptorKeepsItsFlags) {
    const int file = create(O_CLOEXEC);
    EXPECT_EQ(fcntl(file, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(file, F_SETFL, O_NONBLOCK), 0);
    EXPECT_NE(fcntl(file, F_GETFL) & O_NONBLOCK, 0);
    const int copy = fcntl(file, F_DUPFD_CLOEXEC, 100);
    EXPECT_GE(copy, 100);
    EXPECT_EQ(fcntl(copy, F_GETFD), FD_CLOEXEC);
    close(copy);
    close(file);
}

TEST_F(File, TruncatingEmptiesIt) {
    int file = create();
    EXPECT_EQ(write(file, "some", 4), 4);
    close(file);
    file = open(path_.c_str(), O_WRONLY | O_TRUNC);
    EXPECT_EQ(lseek(file, 0, SEEK_END), 0);
    close(file);
}

TEST_F(File, DirectoryListsItsEntries) {
    close(create());
    DIR* const directory = opendir(directory_.c_str());
    ASSERT_NE(directory, nullptr);
    std::set<std::string> names;
    while (const dirent* const entry = readdir(directory)) {
        EXPECT_EQ(entry->d_namlen, std::strlen(entry->d_name));
        EXPECT_EQ(entry->d_type, entry->d_name[0] == '.' ? DT_DIR : DT_REG);
        names.insert(entry->d_name);
    }
    closedir(directory);
    EXPECT_EQ(names, (std::set<std::string>{".", "..", "file"}));
}

TEST_F(File, DirectoryIsNotUnlinked) {
    EXPECT_EQ(unlink(directory_.c_str()), -1);
    EXPECT_EQ(errno, EPERM);
}

TEST_F(File, RealPathFollowsLinks) {
    std::array<char, PATH_MAX> directory{};
    std::array<char, PATH_MAX> path{};
    ASSERT_NE(realpath(directory_.c_str(), directory.data()), nullptr);
    ASSERT_EQ(symlink("..", path_.c_str()), 0);
    ASSERT_NE(realpath((path_ + "/.").c_str(), path.data()), nullptr);
    EXPECT_EQ(std::string(directory.data()).rfind(path.data(), 0), 0U);
    EXPECT_EQ(realpath("/nowhere/at/all", path.data()), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(File, MappedOneShowsItsBytes) {
    const int file = create();
    EXPECT_EQ(write(file, "mapped", 6), 6);
    void* const memory = mmap(nullptr, 6, PROT_READ, MAP_PRIVATE, file, 0);
    close(file);
    ASSERT_NE(memory, MAP_FAILED);
    EXPECT_EQ(std::memcmp(memory, "mapped", 6), 0);
    EXPECT_EQ(munmap(memory, 6), 0);
}

TEST(Memory, AnonymousMapIsZeroWritableAndProtectable) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    EXPECT_EQ(page, static_cast<size_t>(getpagesize()));
    void* const memory =
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto* const bytes = static_cast<unsigned char*>(memory);
    EXPECT_EQ(bytes[2 * page - 1], 0);
    bytes[0] = 1;
    EXPECT_EQ(mprotect(memory, page, PROT_READ), 0);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(munmap(memory, 2 * page), 0);
}

TEST(Memory, MapOfNoFileAtAllFails) {
    EXPECT_EQ(mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE, -1, 0), MAP_FAILED);
    EXPECT_EQ(errno, EBADF);
}

}  // namespace
