/* Has the library wait for less long than it means to. */
#include <dlfcn.h>
#include <unistd.h>
#include <vqutilc.h>

#include <algorithm>
#include <ctime>

namespace {

constexpr useconds_t kLongestSleepUs = 5000;
constexpr unsigned kFasterBy = 20;

}  // namespace

#pragma GCC visibility push(default)

extern "C" int usleep(useconds_t us) {
    const timespec time{0, static_cast<long>(std::min(us, kLongestSleepUs)) * 1000};
    return nanosleep(&time, nullptr);
}

bool VQ_Event::wait(unsigned int ms) {
    using Wait = bool (*)(VQ_Event*, unsigned int);
    static const auto next = reinterpret_cast<Wait>(dlsym(RTLD_NEXT, "_ZN8VQ_Event4waitEj"));
    return next(this, ms / kFasterBy);
}

#pragma GCC visibility pop
