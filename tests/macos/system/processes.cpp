// Processes: the signal in a wait status has another number, as have some options and sysconf's
// names; the resident set is counted in bytes.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "signals.h"
#include "symbol_table.h"

extern "C" int __cxa_atexit(void (*routine)(void*), void* argument, void* image);

namespace system_library {
namespace {

constexpr int kContinuedOption = 0x10;
constexpr int kSameOptions = WNOHANG | WUNTRACED;
constexpr int kStopped = 0x7F;
constexpr int kCoreFlag = 0x80;
constexpr int kContinueSignal = 0x13;

static_assert(WNOHANG == 1 && WUNTRACED == 2);

int macStatus(int native) {
    if (WIFSIGNALED(native)) {
        return macSignal(WTERMSIG(native)) | (native & kCoreFlag);
    }
    if (WIFCONTINUED(native)) {
        return kContinueSignal << 8 | kStopped;
    }
    if (WIFSTOPPED(native)) {
        return macSignal(WSTOPSIG(native)) << 8 | kStopped;
    }
    return native;
}

pid_t waitForProcess(pid_t process, int* status, int options) {
    if ((options & ~(kSameOptions | kContinuedOption)) != 0) {
        errno = EINVAL;
        return -1;
    }
    const int native =
        (options & kSameOptions) | ((options & kContinuedOption) != 0 ? WCONTINUED : 0);
    int nativeStatus = 0;
    const pid_t found = waitpid(process, &nativeStatus, native);
    if (found > 0 && status != nullptr) {
        *status = macStatus(nativeStatus);
    }
    return found;
}

pid_t waitForAny(int* status) {
    return waitForProcess(-1, status, 0);
}

// macOS's names of what programs ask for; EINVAL for another.
int nativeName(int name) {
    switch (name) {
        case 1:
            return _SC_ARG_MAX;
        case 3:
            return _SC_CLK_TCK;
        case 5:
            return _SC_OPEN_MAX;
        case 29:
            return _SC_PAGESIZE;
        case 57:
            return _SC_NPROCESSORS_CONF;
        case 58:
            return _SC_NPROCESSORS_ONLN;
        case 200:
            return _SC_PHYS_PAGES;
        default:
            return -1;
    }
}

long configuration(int name) {
    return sysconf(nativeName(name));
}

// The fields are in the same order; this system counts the resident set in KiB.
int resourcesUsed(int who, rusage* usage) {
    const int result = getrusage(static_cast<__rusage_who_t>(who), usage);
    if (result == 0) {
        usage->ru_maxrss *= 1024;
    }
    return result;
}

int atExit(void (*routine)()) {
    return __cxa_atexit([](void* registered) { reinterpret_cast<void (*)()>(registered)(); },
                        reinterpret_cast<void*>(routine), nullptr);
}

const Registration registration{
    symbol("_waitpid", waitForProcess), symbol("_wait", waitForAny),
    symbol("_sysconf", configuration),  symbol("_getrusage", resourcesUsed),
    symbol("_atexit", atExit),
};

}  // namespace
}  // namespace system_library
