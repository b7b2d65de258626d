// SaveBmp.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CaptureMac.h"

namespace {

class BitmapWriter : public testing::Test {
  protected:
    void SetUp() override {
        path_ = testing::TempDir() + "contract_bitmap_" +
                std::to_string(testing::UnitTest::GetInstance()->random_seed()) + ".bmp";
        std::filesystem::remove(path_);
    }
    void TearDown() override { std::filesystem::remove(path_); }

    std::vector<unsigned char> written() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
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

TEST_F(BitmapWriter, doesNothingWhenThePathCannotBeOpened) {
    std::string path = path_ + "/no/such/directory";
    unsigned char pixel[4] = {};
    SaveBmp(path.data(), pixel, 1, 1, 32);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

}  // namespace
