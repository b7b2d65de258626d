/* The ways in which images come from the server, and that each gives the same. */
#include <cstdint>
#include <optional>
#include <set>
#include <sstream>
#include <thread>

#include "process_resources.h"
#include "screen_test.h"

namespace {

constexpr const char* kDescriptor =
    "images through shared memory by descriptor: the server takes it";
constexpr const char* kIdentifier =
    "images through shared memory by identifier: no memory to pass: File too large";
constexpr const char* kReplies = "images in replies: the server offers no shared memory";
constexpr const char* kIdentifierOverTcp =
    "images through shared memory by identifier: the connection cannot pass descriptors";
constexpr const char* kRepliesOverTcp =
    "images in replies: the server does not see this machine's System V memory";

enum class Reach { localSocket, tcp };
enum class Memory { unlimited, noLargeFiles };

struct Way {
    const char* name;
    std::vector<std::string> serverArguments;
    Reach reach;
    Memory memory;
    std::vector<std::string> trace;  // of the ways that are tried, the last one in use
};

class WayTest : public testing::TestWithParam<Way> {
  protected:
    void SetUp() override {
        const bool isTcp = GetParam().reach == Reach::tcp;
        useDisplay(isTcp ? server_.tcpDisplay() : server_.display());
        painter_.fill({0, 0, 320, 200}, {1, 2, 3});
        painter_.sync();
        onlyDisplay();  // leaves an earlier test's connection
        if (GetParam().memory == Memory::noLargeFiles)
            noLargeFiles_.emplace();
    }

    XvfbServer server_{"320x200x24", GetParam().serverArguments};
    Painter painter_{server_.display()};

  private:
    std::optional<NoLargeFiles> noLargeFiles_;
};

/* The lines that tell how images come. */
std::vector<std::string> ways(const std::string& trace) {
    std::vector<std::string> lines;
    std::istringstream input(trace);
    for (std::string line; std::getline(input, line);) {
        const auto start = line.find("images ");
        if (start != std::string::npos)
            lines.push_back(line.substr(start));
    }
    return lines;
}

TEST_P(WayTest, IsTheLastOneTried) {
    EXPECT_EQ(ways(traceOf([] { imageOf(0, 0, 320, 200); })), GetParam().trace);
}

TEST_P(WayTest, IsTracedOnce) {
    imageOf(0, 0, 320, 200);
    EXPECT_EQ(traceOf([] { imageOf(0, 0, 320, 200); }), "");
}

TEST_P(WayTest, ShowsTheScreenToThePixel) {
    painter_.fill({5, 6, 7, 8}, {250, 128, 7});
    painter_.sync();
    const Image image = imageOf(2, 3, 100, 100);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(pixelAt(image.get(), 2, 3).color(), (Color{1, 2, 3}));
    EXPECT_EQ(pixelAt(image.get(), 3, 3).color(), (Color{250, 128, 7}));
    EXPECT_EQ(pixelAt(image.get(), 9, 10).color(), (Color{250, 128, 7}));
    EXPECT_EQ(pixelAt(image.get(), 10, 10).color(), (Color{1, 2, 3}));
}

TEST_P(WayTest, LaterGrabsNeverChangeAnImageThatIsHeld) {
    std::vector<Image> held;
    for (std::uint8_t i = 0; i < 12; ++i) {
        painter_.fill({0, 0, 320, 200}, {i, i, i});
        painter_.sync();
        held.push_back(imageOf(0, 0, 320, 200));
        imageOf(0, 0, 320, 200);  // one that is dropped at once, so that its memory is used again
    }
    for (std::uint8_t i = 0; i < 12; ++i) {
        EXPECT_EQ(pixelAt(held[i].get(), 0, 0).color(), (Color{i, i, i}));
        EXPECT_EQ(pixelAt(held[i].get(), 319, 199).color(), (Color{i, i, i}));
    }
}

TEST_P(WayTest, SizesMayChangeFromImageToImage) {
    for (const double width : {320.0, 16.0, 200.0, 320.0, 1.0}) {
        const Image image = imageOf(0, 0, width, 200);
        EXPECT_EQ(pixelAt(image.get(), static_cast<std::size_t>(width) - 1, 199).color(),
                  (Color{1, 2, 3}));
    }
}

TEST_P(WayTest, ImagesUseNoMoreResourcesAsTheyGoOn) {
    const auto grab = [] { EXPECT_NE(imageOf(0, 0, 320, 200), nullptr); };
    grab();
    const ProcessResources before = ProcessResources::now();
    for (int i = 0; i < 200; ++i)
        grab();
    EXPECT_EQ(ProcessResources::now(), before);
}

TEST_P(WayTest, ThreadLeavesNothingBehindWhenItEnds) {
    const ProcessResources before = ProcessResources::now();
    for (int i = 0; i < 20; ++i) {
        std::thread([] {
            for (int j = 0; j < 10; ++j)
                EXPECT_NE(imageOf(0, 0, 320, 200), nullptr);
        }).join();
    }
    EXPECT_TRUE(eventually([&] { return ProcessResources::now() == before; }))
        << testing::PrintToString(ProcessResources::now());
}

TEST_P(WayTest, ImageOutlivesTheThreadThatTookIt) {
    const ProcessResources before = ProcessResources::now();
    Image image;
    std::thread([&image] { image = imageOf(0, 0, 320, 200); }).join();
    EXPECT_EQ(pixelAt(image.get(), 319, 199).color(), (Color{1, 2, 3}));
    image.reset();
    EXPECT_TRUE(eventually([&] { return ProcessResources::now() == before; }));
}

const Way kWays[]{
    {"Descriptor", {}, Reach::localSocket, Memory::unlimited, {kDescriptor}},
    {"Identifier", {}, Reach::localSocket, Memory::noLargeFiles, {kDescriptor, kIdentifier}},
    {"Replies", {"-extension", "MIT-SHM"}, Reach::localSocket, Memory::unlimited, {kReplies}},
    // The server has no way to know the user at the other end, so it attaches no memory that only
    // that user may use.
    {"Tcp",
     {"-listen", "tcp"},
     Reach::tcp,
     Memory::unlimited,
     {kIdentifierOverTcp, kRepliesOverTcp}},
};

INSTANTIATE_TEST_SUITE_P(Ways, WayTest, testing::ValuesIn(kWays),
                         [](const auto& instance) { return instance.param.name; });

/* Where the images that a caller takes in turn lie. */
std::set<const void*> placesOfImagesInTurn(int count) {
    std::set<const void*> places;
    Image previous;
    for (int i = 0; i < count; ++i) {
        Image image = imageOf(0, 0, 320, 200);
        places.insert(CFDataGetBytePtr(dataOf(image.get()).get()));
        previous = std::move(image);
    }
    return places;
}

TEST(SegmentReuseTest, CallerThatHoldsOneImageUsesTwoSegments) {
    const XvfbServer server("320x200x24");
    useDisplay(server.display());
    EXPECT_EQ(placesOfImagesInTurn(50).size(), 2U);
}

TEST(SegmentReuseTest, FewOfManySegmentsAreKept) {
    const XvfbServer server("320x200x24");
    useDisplay(server.display());
    onlyDisplay();  // leaves an earlier test's connection
    const std::size_t before = ProcessResources::now().imageMappings;
    Painter painter(server.display());
    std::vector<Image> held(40);
    for (std::size_t i = 0; i < held.size(); ++i) {
        painter.fill({0, 0, 320, 200}, {static_cast<std::uint8_t>(i), 2, 3});
        painter.sync();
        held[i] = imageOf(0, 0, 320, 200);
    }
    EXPECT_EQ(ProcessResources::now().imageMappings, before + 40);
    held.clear();
    painter.fill({0, 0, 320, 200}, {0, 0, 0});
    painter.sync();
    const Image next = imageOf(0, 0, 320, 200);
    EXPECT_LE(ProcessResources::now().imageMappings, before + 4);
}

TEST(SegmentReuseTest, SegmentsThatBecameTooSmallAreFreed) {
    const XvfbServer server("320x200x24");
    useDisplay(server.display());
    onlyDisplay();  // leaves an earlier test's connection
    const std::size_t before = ProcessResources::now().imageMappings;
    for (const double height : {10.0, 50.0, 100.0, 200.0})
        EXPECT_NE(imageOf(0, 0, 320, height), nullptr);
    EXPECT_EQ(ProcessResources::now().imageMappings, before + 1);
}

/* So that the system can put it into large pages. */
TEST(LargeImageTest, BeginsWhereALargePageMay) {
    constexpr std::uintptr_t kLargePage = 2U << 20;
    const XvfbServer server("1100x600x24");
    useDisplay(server.display());
    Painter painter(server.display());
    painter.fill({1099, 599, 1, 1}, {250, 128, 7});
    painter.sync();
    const ProcessResources before = ProcessResources::now();
    std::thread([] {
        const Image image = imageOf(0, 0, 1100, 600);
        ASSERT_NE(image, nullptr);
        const Data data = dataOf(image.get());
        const auto address = reinterpret_cast<std::uintptr_t>(CFDataGetBytePtr(data.get()));
        EXPECT_EQ(address % kLargePage, 0U);
        EXPECT_EQ(pixelAt(image.get(), 1099, 599).color(), (Color{250, 128, 7}));
    }).join();
    EXPECT_TRUE(eventually([&] { return ProcessResources::now() == before; }))
        << testing::PrintToString(ProcessResources::now());
}

TEST(TraceTest, IsSilentUnlessAskedFor) {
    const XvfbServer server("320x200x24");
    useDisplay(server.display());
    testing::internal::CaptureStderr();
    imageOf(0, 0, 320, 200);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
