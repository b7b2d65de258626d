/* Changes of the screen that the server tells nobody of. */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <system_error>

#include "screen_test.h"
#include "xorg_server.h"

namespace {

/* The pixels of a virtual server's screen, which it shares as a file: what is written there is on
 * the screen, and no request was made for it. The screen is of 24 bits. */
class ScreenFile {
  public:
    explicit ScreenFile(const std::filesystem::path& path) {
        const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
        struct stat status {};
        if (file != -1 && fstat(file, &status) == 0) {
            size_ = static_cast<std::size_t>(status.st_size);
            memory_ = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        }
        const int error = errno;
        if (file != -1)
            close(file);
        if (memory_ == MAP_FAILED)
            throw std::system_error(error, std::generic_category(), path);
    }
    ~ScreenFile() { munmap(memory_, size_); }
    ScreenFile(const ScreenFile&) = delete;
    ScreenFile& operator=(const ScreenFile&) = delete;

    void fill(const Area& area, Color color) const {
        constexpr std::size_t kColorEntryBytes = 12;
        const std::size_t start = headerWord(0) + kColorEntryBytes * headerWord(19);
        const std::size_t rowBytes = headerWord(12);
        for (int y = area.y; y < area.y + area.height; ++y) {
            for (int x = area.x; x < area.x + area.width; ++x) {
                const std::uint8_t pixel[4]{color.blue, color.green, color.red, 0};
                const auto place = start + static_cast<std::size_t>(y) * rowBytes +
                                   static_cast<std::size_t>(x) * sizeof pixel;
                std::memcpy(bytes() + place, pixel, sizeof pixel);
            }
        }
    }

  private:
    std::uint8_t* bytes() const { return static_cast<std::uint8_t*>(memory_); }

    /* Of the file's head, which is in words of the highest byte first. */
    std::size_t headerWord(std::size_t position) const {
        std::size_t word = 0;
        for (std::size_t i = 0; i < 4; ++i)
            word = word << 8 | bytes()[position * 4 + i];
        return word;
    }

    void* memory_ = MAP_FAILED;
    std::size_t size_ = 0;
};

Color colorAt(const Area& area) {
    const Image image = imageOf(0, 0, 320, 200);
    const auto x = static_cast<std::size_t>(area.x);
    const auto y = static_cast<std::size_t>(area.y);
    return image == nullptr ? Color{} : pixelAt(image.get(), x, y).color();
}

TEST(LostDamageTest, IsSeenAfterAWhileAndAtOnceFromThenOn) {
    constexpr Color kRed{200, 10, 20};
    constexpr Color kGreen{30, 180, 40};
    constexpr Area kPlace{50, 60, 70, 20};
    constexpr std::chrono::seconds kLongestUnseen{10};
    constexpr std::chrono::seconds kSlack{4};
    const TemporaryDirectory directory;
    const XvfbServer server("320x200x24", {"-fbdir", directory.path()});
    useDisplay(server.display());
    const Painter painter(server.display());
    painter.fill({0, 0, 320, 200}, {1, 2, 3});
    painter.sync();
    for (int i = 0; i < 5; ++i)
        ASSERT_EQ(colorAt(kPlace), (Color{1, 2, 3}));
    const ScreenFile file(directory.path() / "Xvfb_screen0");
    file.fill(kPlace, kRed);
    ASSERT_TRUE(eventually([&] { return colorAt(kPlace) == kRed; }, kLongestUnseen + kSlack));
    for (const Color color : {kGreen, kRed, kGreen, kRed}) {
        file.fill(kPlace, color);
        EXPECT_EQ(colorAt(kPlace), color);
    }
}

}  // namespace
