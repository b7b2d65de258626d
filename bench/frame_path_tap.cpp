// Loaded before the libraries of a process that takes frames: notes when each frame was finished
// and passes every call on. Nothing is counted unless the environment names a board.
#include <CoreGraphics/CoreGraphics.h>
#include <dlfcn.h>
#include <xcb/shm.h>

#include <cstdlib>
#include <optional>

#include "frame_path_board.h"

#define QOR_TAPPED extern "C" __attribute__((visibility("default")))

namespace qor::bench {

namespace {

class Tap {
  public:
    Tap() {
        if (const char* const descriptor = std::getenv("QOR_BENCH_DELIVERIES")) {
            board_.emplace(SharedBoard<Deliveries>::inherited(descriptor));
        }
    }

    void finished(int64_t begin) {
        static thread_local const uint32_t kCapture = captures_.fetch_add(1);
        if (board_) {
            (*board_)->add({begin, nowNs(), kCapture});
        }
    }

  private:
    std::optional<SharedBoard<Deliveries>> board_;
    std::atomic<uint32_t> captures_{0};
};

Tap& tap() {
    static Tap instance;
    return instance;
}

// The function that would have been called.
template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// The image that this thread is making a frame of. The library takes an image, copies or scales it
// into the frame buffer and lets go of the image: then the frame is finished.
struct Taken {
    CGImageRef image = nullptr;
    int64_t begin = 0;
};
thread_local Taken taken;

CGImageRef noted(CGImageRef image, int64_t begin) {
    taken = {image, begin};
    return image;
}

}  // namespace

}  // namespace qor::bench

using qor::bench::next;
using qor::bench::noted;
using qor::bench::nowNs;
using qor::bench::taken;
using qor::bench::tap;

QOR_TAPPED CGImageRef CGWindowListCreateImage(CGRect area, CGWindowListOption option,
                                              CGWindowID window, CGWindowImageOption imageOption) {
    static auto* const kReal = next<decltype(CGWindowListCreateImage)>("CGWindowListCreateImage");
    const int64_t begin = nowNs();
    return noted(kReal(area, option, window, imageOption), begin);
}

QOR_TAPPED CGImageRef CGWindowListCreateImageFromArray(CGRect area, CFArrayRef windows,
                                                       CGWindowImageOption imageOption) {
    static auto* const kReal =
        next<decltype(CGWindowListCreateImageFromArray)>("CGWindowListCreateImageFromArray");
    const int64_t begin = nowNs();
    return noted(kReal(area, windows, imageOption), begin);
}

QOR_TAPPED void CGImageRelease(CGImageRef image) {
    static auto* const kReal = next<decltype(CGImageRelease)>("CGImageRelease");
    if (image != nullptr && image == taken.image) {
        tap().finished(taken.begin);
        taken.image = nullptr;
    }
    kReal(image);
}

// The grab of ffmpeg. Ours grabs this way as well, below what is counted there.
QOR_TAPPED xcb_shm_get_image_reply_t* xcb_shm_get_image_reply(xcb_connection_t* connection,
                                                              xcb_shm_get_image_cookie_t cookie,
                                                              xcb_generic_error_t** error) {
    static auto* const kReal = next<decltype(xcb_shm_get_image_reply)>("xcb_shm_get_image_reply");
    const int64_t begin = nowNs();
    xcb_shm_get_image_reply_t* const reply = kReal(connection, cookie, error);
    static const bool kIsOurs = next<decltype(CGImageRelease)>("CGImageRelease") != nullptr;
    if (reply != nullptr && !kIsOurs) {
        tap().finished(begin);
    }
    return reply;
}

// That of GStreamer; the types are Xlib's. A plugin's libraries are not among those that a name is
// looked for in, so this one has to be named.
QOR_TAPPED int XShmGetImage(void* display, unsigned long drawable, void* image, int x, int y,
                            unsigned long planes) {
    using Grab = int(void*, unsigned long, void*, int, int, unsigned long);
    static auto* const kReal =
        reinterpret_cast<Grab*>(dlsym(dlopen("libXext.so.6", RTLD_LAZY), "XShmGetImage"));
    const int64_t begin = nowNs();
    const int result = kReal(display, drawable, image, x, y, planes);
    if (result != 0) {
        tap().finished(begin);
    }
    return result;
}
