#include "steady_images.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <sstream>
#include <utility>

Image freshImage(const TakeImage& take) {
    Image image;
    std::thread([&] { image = take(); }).join();
    return image;
}

std::string differenceOf(const Image& image, const Image& other) {
    if (image == nullptr || other == nullptr)
        return image == other ? "" : image == nullptr ? "the first is missing" : "only the first";
    const std::size_t width = CGImageGetWidth(image.get());
    const std::size_t height = CGImageGetHeight(image.get());
    if (width != CGImageGetWidth(other.get()) || height != CGImageGetHeight(other.get()))
        return "they have different sizes";
    const std::vector<std::uint8_t> bytes = bytesOf(image.get());
    const std::vector<std::uint8_t> others = bytesOf(other.get());
    if (bytes == others)
        return "";
    if (bytes.size() != others.size() || bytes.size() != width * height * 4)
        return "they have different numbers of bytes";
    std::size_t count = 0;
    std::size_t left = width;
    std::size_t right = 0;
    std::size_t top = height;
    std::size_t bottom = 0;
    int most = 0;
    for (std::size_t i = 0; i < width * height; ++i) {
        if (std::equal(&bytes[i * 4], &bytes[i * 4] + 4, &others[i * 4]))
            continue;
        ++count;
        for (std::size_t part = i * 4; part < i * 4 + 4; ++part)
            most = std::max(most, std::abs(bytes[part] - others[part]));
        left = std::min(left, i % width);
        right = std::max(right, i % width);
        top = std::min(top, i / width);
        bottom = std::max(bottom, i / width);
    }
    std::ostringstream text;
    text << count << " pixels differ, from " << left << "," << top << " to " << right << ","
         << bottom << ", by up to " << most;
    return text.str();
}

SteadyImages::SteadyImages(TakeImage take)
    : take_(std::move(take)), thread_([this](const std::stop_token& stop) { run(stop); }) {
    // The thread connects with the first image, and the test may connect too afterwards: looking up
    // credentials goes through a static buffer.
    next();
}

SteadyImages::~SteadyImages() = default;

Image SteadyImages::next() {
    std::unique_lock lock(mutex_);
    const unsigned question = ++asked_;
    answered_.wait(lock, [&] { return answer_ == question; });
    return std::move(image_);
}

void SteadyImages::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        const unsigned asked = asked_;
        Image image = take_();
        {
            const std::lock_guard lock(mutex_);
            if (answer_ != asked)
                image_ = std::move(image);
            answer_ = asked;
        }
        answered_.notify_one();
        // Images that cost nothing would come as fast as the processor can make them.
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
}
