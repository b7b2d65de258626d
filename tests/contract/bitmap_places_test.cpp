// SaveBmp where no file can be written to its end, and where what is there is none.
#include <CaptureMac.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

// To whoever writes, the disk is full at 64 KiB of a file.
class SmallDisk {
  public:
    SmallDisk() {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{64 * 1024, before_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    }
    ~SmallDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        signal(SIGXFSZ, handlerBefore_);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

  private:
    rlimit before_{};
    void (*const handlerBefore_)(int) = signal(SIGXFSZ, SIG_IGN);
};

class BitmapPlace : public testing::Test {
  protected:
    void SetUp() override {
        path_ = testing::TempDir() + "contract_bitmap_place_" + std::to_string(getpid());
        std::filesystem::remove(path_);
    }
    void TearDown() override { std::filesystem::remove(path_); }

    void save(std::string path) { SaveBmp(path.data(), pixels_.data(), kSide, kSide, 32); }

    static constexpr int kSide = 200;
    std::vector<unsigned char> pixels_ = std::vector<unsigned char>(kSide * kSide * 4);
    std::string path_;
};

// What can be read from a descriptor without waiting.
ssize_t readable(int descriptor) {
    char byte = 0;
    return read(descriptor, &byte, 1);
}

TEST_F(BitmapPlace, holdsNoPartOfAFileThatTheDiskHasNoRoomFor) {
    {
        const SmallDisk disk;
        save(path_);
    }
    EXPECT_FALSE(std::filesystem::exists(path_));
    save(path_);
    EXPECT_EQ(std::filesystem::file_size(path_), pixels_.size() + 54) << "with room, it is whole";
}

TEST_F(BitmapPlace, thatIsAPipeIsNotWaitedForNorWrittenToNorRemoved) {
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    save(path_);  // nobody reads
    const int reader = open(path_.c_str(), O_RDONLY | O_NONBLOCK);
    save(path_);
    EXPECT_EQ(readable(reader), 0) << "no writer, no byte";
    close(reader);
    EXPECT_TRUE(std::filesystem::is_fifo(path_));
}

TEST_F(BitmapPlace, thatIsADeviceIsNotWrittenToNorRemoved) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const std::string device = ptsname(terminal);
    save(device);
    EXPECT_EQ(readable(terminal), -1);
    EXPECT_TRUE(std::filesystem::is_character_file(device));
    close(terminal);
}

TEST_F(BitmapPlace, thatIsAFolderStays) {
    std::filesystem::create_directory(path_);
    save(path_);
    EXPECT_TRUE(std::filesystem::is_directory(path_));
}

}  // namespace
