// SaveBmp.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CaptureMac.h"

namespace {

class BitmapWriter : public testing::Test {
  protected:
    void SetUp() override {
        // Tests run beside each other, each in a process of its own.
        path_ = testing::TempDir() + "contract_bitmap_" + std::to_string(getpid()) + ".bmp";
        TearDown();
    }
    void TearDown() override {
        std::filesystem::remove(path_);
        std::filesystem::remove(neighbour());
    }

    // For what a test needs beside it.
    std::string neighbour() const { return path_ + ".neighbour"; }

    std::vector<unsigned char> written() const {
        std::vector<unsigned char> bytes(std::filesystem::file_size(path_));
        std::ifstream(path_, std::ios::binary)
            .read(reinterpret_cast<char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        return bytes;
    }

    std::string path_;
};

TEST_F(BitmapWriter, writesHeadersAndPixels) {
    std::vector<unsigned char> pixels(3 * 2 * 4);
    for (size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<unsigned char>(200 + i);
    }
    SaveBmp(path_.data(), pixels.data(), 3, 2, 24);
    std::vector<unsigned char> expected = {
        'B', 'M', 78, 0, 0, 0, 0, 0, 0,    0,    54,   0,    0, 0,  // file header
        40,  0,   0,  0, 3, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF,        // size, width, -height
        1,   0,   24, 0, 0, 0, 0, 0, 24,   0,    0,    0,           // planes, bits, none, bytes
        0,   0,   0,  0, 0, 0, 0, 0, 0,    0,    0,    0,    0, 0, 0, 0,  // resolution, colours
    };
    expected.insert(expected.end(), pixels.begin(), pixels.end());
    EXPECT_EQ(written(), expected);
}

struct Bitmap {
    int width;
    int height;
    uint16_t bits;
};

class WrittenBitmap : public BitmapWriter, public testing::WithParamInterface<Bitmap> {
  protected:
    static void put(std::vector<unsigned char>& bytes, uint32_t value, int size) {
        for (int i = 0; i < size; ++i) {
            bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
        }
    }
};

// The data is four bytes a pixel, whatever the number of bits says.
TEST_P(WrittenBitmap, hasItsSizeAndBitsInTheHeaders) {
    const Bitmap& bitmap = GetParam();
    const uint32_t size = static_cast<uint32_t>(bitmap.width * bitmap.height) * 4;
    std::vector<unsigned char> pixels(size, 0x5A);
    SaveBmp(path_.data(), pixels.data(), bitmap.width, bitmap.height, bitmap.bits);
    std::vector<unsigned char> expected = {'B', 'M'};
    for (const uint32_t field : {size + 54, 0U, 54U, 40U, static_cast<uint32_t>(bitmap.width),
                                 static_cast<uint32_t>(-bitmap.height)}) {
        put(expected, field, 4);
    }
    put(expected, 1, 2);
    put(expected, bitmap.bits, 2);
    for (const uint32_t field : {0U, size, 0U, 0U, 0U, 0U}) {
        put(expected, field, 4);
    }
    expected.insert(expected.end(), pixels.begin(), pixels.end());
    EXPECT_EQ(written(), expected);
}

INSTANTIATE_TEST_SUITE_P(Bitmaps, WrittenBitmap,
                         testing::Values(Bitmap{1, 1, 32}, Bitmap{300, 1, 0}, Bitmap{1, 300, 16},
                                         Bitmap{257, 258, 0xFFFE}, Bitmap{2048, 2049, 32},
                                         Bitmap{0, 5, 32}, Bitmap{-2, -3, 32}));

class IndescribableBitmap : public WrittenBitmap {};

TEST_P(IndescribableBitmap, isNotWritten) {
    std::ofstream(path_) << "as it was";
    unsigned char pixel[4] = {};
    SaveBmp(path_.data(), pixel, GetParam().width, GetParam().height, GetParam().bits);
    EXPECT_EQ(written().size(), 9U);
}

INSTANTIATE_TEST_SUITE_P(Bitmaps, IndescribableBitmap,
                         testing::Values(Bitmap{-1, 1, 32}, Bitmap{1, -1, 32},
                                         Bitmap{INT_MAX, -1, 32}, Bitmap{INT_MIN, INT_MIN, 32},
                                         Bitmap{65536, 65536, 32}, Bitmap{1073741811, 1, 32}));

TEST_F(BitmapWriter, writesTheHeadersAloneWithoutData) {
    SaveBmp(path_.data(), nullptr, 2, 2, 32);
    EXPECT_EQ(written().size(), 54U);
}

TEST_F(BitmapWriter, replacesAFileThatIsThere) {
    std::ofstream(path_) << std::string(5000, 'x');
    unsigned char pixel[4] = {};
    SaveBmp(path_.data(), pixel, 1, 1, 32);
    EXPECT_EQ(written().size(), 58U);
}

TEST_F(BitmapWriter, doesNothingWhenThePathCannotBeOpened) {
    std::string path = path_ + "/no/such/directory";
    unsigned char pixel[4] = {};
    SaveBmp(path.data(), pixel, 1, 1, 32);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(BitmapWriter, doesNothingWithoutAPath) {
    unsigned char pixel[4] = {};
    SaveBmp(nullptr, pixel, 1, 1, 32);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(BitmapWriter, followsNoSymbolicLinkToAFile) {
    std::ofstream(neighbour()) << "another's";
    std::filesystem::create_symlink(neighbour(), path_);
    unsigned char pixel[4] = {};
    SaveBmp(path_.data(), pixel, 1, 1, 32);
    EXPECT_EQ(written().size(), 9U);
    EXPECT_TRUE(std::filesystem::is_symlink(path_));
}

TEST_F(BitmapWriter, makesNoFileWhereASymbolicLinkPoints) {
    std::filesystem::create_symlink(neighbour(), path_);
    unsigned char pixel[4] = {};
    SaveBmp(path_.data(), pixel, 1, 1, 32);
    EXPECT_FALSE(std::filesystem::exists(neighbour()));
}

// Two pages, of which only the first can be read.
class CutData {
  public:
    CutData() { mprotect(bytes() + kPage, kPage, PROT_NONE); }
    ~CutData() { munmap(memory_, 2 * kPage); }
    CutData(const CutData&) = delete;
    CutData& operator=(const CutData&) = delete;

    unsigned char* bytes() const { return static_cast<unsigned char*>(memory_); }
    int rows() const { return static_cast<int>(2 * kPage / 4); }  // of one pixel

  private:
    const size_t kPage = static_cast<size_t>(getpagesize());
    void* const memory_ =
        mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
};

TEST_F(BitmapWriter, leavesNoFileWhereTheDataEndsEarly) {
    const CutData data;
    SaveBmp(path_.data(), data.bytes(), 1, data.rows(), 32);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(BitmapWriter, leavesNoPartUnderAnotherNameWhereTheDataEndsEarly) {
    std::ofstream(path_) << "as it was";
    std::filesystem::create_hard_link(path_, neighbour());
    const CutData data;
    SaveBmp(path_.data(), data.bytes(), 1, data.rows(), 32);
    EXPECT_FALSE(std::filesystem::exists(path_));
    EXPECT_EQ(std::filesystem::file_size(neighbour()), 0U);
}

}  // namespace
