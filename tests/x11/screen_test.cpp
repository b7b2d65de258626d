#include "screen_test.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>

void PrintTo(const Color& color, std::ostream* out) {
    *out << "red " << +color.red << " green " << +color.green << " blue " << +color.blue;
}

void PrintTo(const Pixel& pixel, std::ostream* out) {
    PrintTo(pixel.color(), out);
    *out << " fourth " << +pixel.fourth;
}

Data dataOf(CGImageRef image) {
    return Data(CGDataProviderCopyData(CGImageGetDataProvider(image)));
}

std::vector<std::uint8_t> bytesOf(CGImageRef image) {
    const Data data = dataOf(image);
    const std::uint8_t* bytes = CFDataGetBytePtr(data.get());
    return {bytes, bytes + CFDataGetLength(data.get())};
}

Pixel pixelAt(CGImageRef image, std::size_t x, std::size_t y) {
    if (x >= CGImageGetWidth(image) || y >= CGImageGetHeight(image)) {
        ADD_FAILURE() << "no pixel at " << x << "," << y;
        return {};
    }
    const Data data = dataOf(image);
    Pixel pixel;
    std::memcpy(&pixel, CFDataGetBytePtr(data.get()) + y * CGImageGetBytesPerRow(image) + x * 4,
                sizeof pixel);
    return pixel;
}

Image imageOf(double x, double y, double width, double height) {
    return Image(CGWindowListCreateImage(CGRectMake(x, y, width, height),
                                         kCGWindowListOptionOnScreenOnly, kCGNullWindowID,
                                         kCGWindowImageDefault));
}

CGDirectDisplayID onlyDisplay() {
    CGDirectDisplayID display = 0;
    std::uint32_t count = 0;
    CGGetActiveDisplayList(0, nullptr, &count);
    if (count != 1)
        return 0;
    CGGetActiveDisplayList(1, &display, &count);
    return display;
}

std::string text(CFStringRef string) {
    char buffer[256] = "";
    if (string == nullptr ||
        CFStringGetCString(string, buffer, sizeof buffer, kCFStringEncodingUTF8) == 0)
        return {};
    return buffer;
}

void useDisplay(const std::string& display) {
    setenv("DISPLAY", display.c_str(), 1);
}

std::string ownDisplay() {
    std::string display = ":";
    return display += std::to_string(100'000 + getpid());
}

static bool isConnecting() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "comm");
        std::string name;
        if (std::getline(file, name) && name == "qor-connect")
            return true;
    }
    return false;
}

bool mayForkHosts() {
    return eventually([] { return !isConnecting(); });
}
