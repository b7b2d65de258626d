/*
 * Searches for orders of calls, and of what displays and the platform do between and during them,
 * after which the library is not as a host may expect, reads or writes what it may not, hangs, or
 * keeps something.
 */
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "CaptureMac.h"
#include "MonitorManager.h"
#include "modelled_host.h"
#include "scripted_platform.h"
#include "turns.h"
#include "vqutilc.h"

namespace {

constexpr int kMostOperations = 80;
constexpr std::size_t kMostIndexes = 4;
constexpr std::uint32_t kMostDisplays = 4;

constexpr const char* kFallible[]{"CGGetActiveDisplayList",
                                  "CGDisplayCopyDisplayMode",
                                  "CGDisplayCreateImage",
                                  "CGWindowListCreateImage",
                                  "CGWindowListCreateImageFromArray",
                                  "CGWindowListCreate",
                                  "CGDataProviderCopyData",
                                  "CFDataGetBytePtr",
                                  "CFArrayCreateMutableCopy",
                                  "CFArrayCreateMutable",
                                  "CGImageGetDataProvider",
                                  "CGImageGetWidth",
                                  "CGImageGetBytesPerRow",
                                  "CGDisplayBounds",
                                  "CGBitmapContextCreate",
                                  "CGDisplayModeCopyPixelEncoding",
                                  "IODisplayCreateInfoDictionary",
                                  "CFStringGetCString"};

const char* takeFunction(FuzzedDataProvider& input) {
    return input.PickValueInArray(kFallible);
}

CAP_SIZE takeSize(FuzzedDataProvider& input) {
    const auto take = [&input] {
        return input.ConsumeIntegralInRange(0, 15) == 0 ? input.ConsumeIntegral<std::uint32_t>()
                                                        : input.ConsumeIntegralInRange(0U, 40U);
    };
    const std::uint32_t width = take();
    return {width, take()};
}

unsigned takeRate(FuzzedDataProvider& input) {
    return input.PickValueInArray(
        {0U, 1U, 2U, 3U, 15U, 30U, 31U, 1000U, 0x7fffffffU, 0x80000000U, 0xffffffffU});
}

std::uint32_t plain(std::size_t /*x*/, std::size_t /*y*/) {
    return 0xff102030;
}

/* One thing that happens to a display, plugged in if it is not there. */
class DisplayEvent {
  public:
    explicit DisplayEvent(FuzzedDataProvider& input)
        : id_(input.ConsumeIntegralInRange(1U, kMostDisplays)),
          kind_(input.ConsumeIntegralInRange(0, 9)),
          width_(input.ConsumeIntegralInRange<std::size_t>(1, 40)),
          height_(input.ConsumeIntegralInRange<std::size_t>(1, 30)),
          place_(input.ConsumeIntegralInRange(-50, 50)) {}

    void happen(std::vector<bool>& isPlugged) const {
        if (!isPlugged[id_] || kind_ == 0)
            return plugInOrOut(isPlugged);
        scripted::change(id_, [this](scripted::Display& display) { edit(display); });
        if (kind_ <= 3)
            scripted::resize(id_, width_, height_);
        if (kind_ == 4)
            scripted::setScale(id_, width_ % 3 + 1);
    }

  private:
    void plugInOrOut(std::vector<bool>& isPlugged) const {
        isPlugged[id_] = !isPlugged[id_];
        if (!isPlugged[id_])
            return scripted::unplug(id_);
        auto display = scripted::makeDisplay(id_, place_ + 60.0 * id_, place_, width_, height_,
                                             width_ % 2 + 1);
        display.main = id_ == 1;
        scripted::plugIn(display);
    }

    void edit(scripted::Display& display) const {
        if (kind_ == 5)
            display.bounds.origin = {place_ + 60.0 * id_, static_cast<double>(-place_)};
        if (kind_ == 6)
            display.rowPadding = width_;
        if (kind_ == 7)
            display.pixel = width_ % 2 == 0 ? plain : scripted::colourfulPixel;
        if (kind_ == 8)
            display.names = {{"en_US", std::string(2 * width_, '\xc3')}};
        if (kind_ == 9)
            display.mode.reset();
    }

    const std::uint32_t id_;
    const int kind_;
    const std::size_t width_;
    const std::size_t height_;
    const int place_;
};

class Sequence {
  public:
    explicit Sequence(FuzzedDataProvider& input) : input_(input) {
        scripted::reset();
        turns::reset(input.PickValueInArray({5000U, 0U, 0xffffff00U}));
        vq_set_trace_level(input.ConsumeBool() ? 3 : -1);
    }

    void run() {
        for (int i = 0; i < kMostOperations && input_.remaining_bytes() > 0; ++i) {
            operate();
            scripted::forgetCalls();
            host_.look();
        }
        end();
    }

  private:
    void operate() {
        switch (input_.ConsumeIntegralInRange(0, 8)) {
            case 0:
            case 1:
                return control();
            case 2:
                return set();
            case 3:
                return readFrames();
            case 4:
                return list();
            case 5:
                return DisplayEvent(input_).happen(isPlugged_);
            case 6:
                return misbehave();
            default:
                return passTime();
        }
    }

    /* Mostly one that there is. */
    unsigned takeIndex() {
        if (input_.ConsumeIntegralInRange(0, 31) == 0)
            return input_.ConsumeIntegral<unsigned>();
        return input_.ConsumeIntegralInRange(0U, static_cast<unsigned>(host_.indexes()));
    }

    void control() {
        const int what = input_.ConsumeIntegralInRange(0, 7);
        if (host_.indexes() == 0 || (what == 0 && host_.indexes() < kMostIndexes))
            return host_.generateIndex();
        const unsigned index = takeIndex();
        if (what <= 3)
            return start(index);
        if (what == 4)
            return host_.stop(index, input_.ConsumeIntegralInRange(-1, 2));
        if (what == 5)
            return host_.pause(index);
        if (what == 6)
            return host_.resume(index);
        if (input_.ConsumeBool())
            host_.endAll();
    }

    void start(unsigned index) {
        const unsigned monitor = input_.ConsumeIntegralInRange(0U, kMostDisplays);
        const auto method = static_cast<CAP_METHOD>(input_.PickValueInArray({4, 4, 0, 4, 1, -1}));
        const auto type = static_cast<CAP_TYPE>(input_.PickValueInArray({0, 0, 1, 2, -1}));
        const auto mode = static_cast<CAP_MODE>(input_.ConsumeIntegralInRange(-1, 2));
        host_.start(index, monitor, method, type, input_.ConsumeIntegralInRange(0U, 1U), mode);
    }

    void set() {
        const unsigned index = takeIndex();
        const auto window = input_.ConsumeIntegralInRange<std::uintptr_t>(0, 4);
        const int action = input_.ConsumeIntegralInRange(-1, 3);
        switch (input_.ConsumeIntegralInRange(0, 5)) {
            case 0:
                return host_.setFrameSize(index, takeSize(input_));
            case 1:
                return host_.setMaxFrameRate(index, takeRate(input_));
            case 2:
                return host_.updateFrameRate(index, takeRate(input_));
            case 3:
                return CapMgr_SetExcludeWnd(index, reinterpret_cast<const void*>(window),
                                            static_cast<tagCapExcWndActType>(action));
            case 4:
                return CapMgr_SetSharedAppWnd(index, static_cast<unsigned>(window),
                                              static_cast<tagCapAppActType>(action));
            default:
                return CapMgr_SetAppShareBgColor(index, static_cast<unsigned>(action), 1, 2);
        }
    }

    void readFrames() {
        const unsigned index = takeIndex();
        switch (input_.ConsumeIntegralInRange(0, 3)) {
            case 0:
                return host_.lock(index);
            case 1:
                return host_.unlock(index);
            case 2:
                host_.lock(index);
                return host_.unlock(index);
            default:
                const std::vector<unsigned char> frame(
                    input_.ConsumeIntegralInRange<std::size_t>(1, 6000), 0x77);
                return CapMgr_UpdateScreenBuffer(index, frame.data(),
                                                 static_cast<unsigned>(frame.size()));
        }
    }

    void list() {
        switch (input_.ConsumeIntegralInRange(0, 5)) {
            case 0:
                return CapMgr_UpdateMonitor();
            case 1:
                return CapMgr_OnMonitorInfoChange();
            case 2:
                return CapMgr_GenerateMonitor(input_.ConsumeIntegral<int>(),
                                              input_.ConsumeIntegral<int>(), 32);
            case 3:
                return drawThumbnail();
            case 4:
                return saveBitmap();
            default:
                return lookAtMonitors();
        }
    }

    void lookAtMonitors() const {
        CapMgr_DestroyMonitor();
        const unsigned count = CapMgr_GetMonitorCount();
        expect(count == 0 || CapMgr_GetPrimaryMonitorIndex() < count,
               "the primary monitor's index");
        expect(count == 0 || CapMgr_GetSecondaryMonitorIndex() < count, "the secondary one's");
        for (unsigned index = 0; index <= count; ++index) {
            CAP_MONITOR_INFO information;
            expect(CapMgr_GetMonitorInfo(index, &information) == (index < count),
                   "each monitor is described, and no other");
            const std::string name(information.cstrName, MAX_MONITOR_NAME_LEN);
            expect(name.find('\0') != std::string::npos, "a name has an end");
            double scale = 0;
            CGRect frame{};
            CapMgr_MonitorScreenInfo(index, index % 2 == 0 ? &scale : nullptr, &frame);
        }
    }

    void drawThumbnail() {
        const int width = input_.ConsumeIntegralInRange(-1, 12);
        const int height = input_.ConsumeIntegralInRange(-1, 12);
        const unsigned monitor = input_.ConsumeIntegralInRange(0U, kMostDisplays);
        const std::size_t pixels =
            width < 0 || height < 0 ? 1U : static_cast<unsigned>(width * height);
        std::vector<unsigned char> picture(pixels * 4);
        const bool isDrawn = CMonitorManager::GetInstance()->GetScreenThumbnail(
            monitor, width, height, picture.empty() ? nullptr : picture.data());
        expect(!isDrawn || (width > 0 && height > 0), "nothing is drawn where there is no room");
    }

    void saveBitmap() {
        namespace files = std::filesystem;
        static const files::path path = files::temp_directory_path() /
                                        ("call_sequence_fuzz." + std::to_string(getpid()) + ".bmp");
        constexpr std::uintmax_t kHeader = 54;
        const int width = input_.ConsumeIntegralInRange(-1, 12);
        const int height = input_.ConsumeIntegralInRange(-1, 12);
        const int pixels = width * height;
        std::vector<unsigned char> data(pixels < 0 ? 0U : static_cast<unsigned>(pixels) * 4U);
        SaveBmp(path.string().data(), data.data(), width, height, 32);
        expect(files::exists(path) == (pixels >= 0), "there is a file where there are pixels");
        if (pixels >= 0 && !data.empty())
            expect(files::file_size(path) == kHeader + data.size(), "a file is whole");
        files::remove(path);
    }

    void misbehave() {
        const auto skip = input_.ConsumeIntegralInRange<std::size_t>(0, 5);
        switch (input_.ConsumeIntegralInRange(0, 5)) {
            case 0:
            case 1:
                return scripted::fail(takeFunction(input_), skip,
                                      input_.ConsumeIntegralInRange<std::size_t>(0, 3));
            case 2:
                return scripted::whenCalled(
                    takeFunction(input_),
                    [this, event = DisplayEvent(input_)] { event.happen(isPlugged_); }, skip);
            case 3:
                return turns::failNextThread();
            case 4:
                return scripted::showWindows({1, 2, 3, 4});
            default:
                return presentOddImages();
        }
    }

    /* Of any size, whatever the displays'. */
    void presentOddImages() {
        constexpr CAP_SIZE kSizes[]{{1, 1},   {0, 0},   {1000000, 1}, {1, 100000},
                                    {41, 31}, {40, 30}, {20, 15},     {65536, 17}};
        const CAP_SIZE size = input_.PickValueInArray(kSizes);
        scripted::presentImagesOf(size.dwWidth, size.dwHeight);
    }

    void passTime() {
        const int count = input_.ConsumeIntegralInRange(1, 12);
        for (int i = 0; i < count && turns::giveNext(); ++i) {
        }
    }

    void end() {
        host_.endAll();
        expect(turns::threads() == 0, "no thread is left");
        for (const std::string& fault : scripted::faults())
            expect(false, fault.c_str());
        for (const std::string& leak : scripted::leaks())
            expect(false, leak.c_str());
        expect(turns::locksOfHost() == 0, "no lock is left held");
    }

    FuzzedDataProvider& input_;
    ModelledHost host_;
    std::vector<bool> isPlugged_ = std::vector<bool>(kMostDisplays + 1);
};

void writeNothing(void* /*context*/, int /*level*/, const char* /*text*/, int /*flag*/) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vq_set_trace_writer(writeNothing, nullptr);
    FuzzedDataProvider input(data, size);
    Sequence(input).run();
    return 0;
}
