#include "png_encoder.h"

#include <fmt/format.h>
#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>

#include "failure.h"

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/* A stream that grows in memory; its bytes are complete once it is closed. */
class MemoryStream {
  public:
    MemoryStream() : stream_(open_memstream(&bytes_, &size_)) {
        if (stream_ == nullptr) {
            throw Failure(fmt::format("cannot make a PNG picture: {}",
                                      std::generic_category().message(errno)));
        }
    }

    ~MemoryStream() {
        stream_.reset();
        std::free(bytes_);
    }

    MemoryStream(const MemoryStream&) = delete;
    MemoryStream& operator=(const MemoryStream&) = delete;

    std::FILE* stream() { return stream_.get(); }

    std::vector<char> close() {
        stream_.reset();
        return {bytes_, bytes_ + size_};
    }

  private:
    char* bytes_ = nullptr;
    std::size_t size_ = 0;
    std::unique_ptr<std::FILE, FileCloser> stream_;
};

std::vector<png_byte> withoutAlpha(const Frame& frame) {
    std::vector<png_byte> rgb(frame.pixels.size() / 4 * 3);
    png_byte* to = rgb.data();
    const std::uint8_t* const end = frame.pixels.data() + frame.pixels.size();
    for (const std::uint8_t* from = frame.pixels.data(); from != end; from += 4, to += 3) {
        to[0] = from[2];
        to[1] = from[1];
        to[2] = from[0];
    }
    return rgb;
}

}  // namespace

std::vector<char> encodePng(const Frame& frame) {
    const std::vector<png_byte> rgb = withoutAlpha(frame);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = frame.width;
    image.height = frame.height;
    image.format = PNG_FORMAT_RGB;
    MemoryStream stream;
    const int done = png_image_write_to_stdio(&image, stream.stream(), 0, rgb.data(), 0, nullptr);
    if (done == 0) {
        throw Failure(fmt::format("cannot make a PNG picture: {}", image.message));
    }
    return stream.close();
}
