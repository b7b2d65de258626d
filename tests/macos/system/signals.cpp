// Signals: other numbers, a mask of 32 bits, other layouts of the action and of what a handler is
// told.
#include "signals.h"

#include <signal.h>
#include <sys/types.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <mutex>

#include "errors.h"
#include "symbol_table.h"
#include "thread.h"

namespace system_library {
namespace {

constexpr int kSignals = 32;

// By macOS's number; 0 where this system has none.
constexpr std::array<int, kSignals> kNative{
    0,       SIGHUP,  SIGINT,    SIGQUIT, SIGILL,   SIGTRAP, SIGABRT, 0,
    SIGFPE,  SIGKILL, SIGBUS,    SIGSEGV, SIGSYS,   SIGPIPE, SIGALRM, SIGTERM,
    SIGURG,  SIGSTOP, SIGTSTP,   SIGCONT, SIGCHLD,  SIGTTIN, SIGTTOU, SIGIO,
    SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF, SIGWINCH, 0,       SIGUSR1, SIGUSR2,
};

struct SignalInformation {
    int signal;
    int error;
    int code;
    pid_t sender;
    uid_t user;
    int status;
    void* address;
    void* value;
    long band;
    std::array<unsigned long, 7> pad;
};

static_assert(sizeof(SignalInformation) == 104);

using Handler = void (*)(int);
using InformedHandler = void (*)(int, SignalInformation*, void*);

struct Action {
    Handler handler;  // an InformedHandler with kInformed
    uint32_t mask;
    int flags;
};

static_assert(sizeof(Action) == 16);

constexpr int kInformed = 0x40;
constexpr int kSentByUser = 0x10001;

struct Flag {
    int mac;
    int native;
};

constexpr std::array<Flag, 6> kFlags{{
    {0x1, static_cast<int>(SA_ONSTACK)},
    {0x2, SA_RESTART},
    {0x4, static_cast<int>(SA_RESETHAND)},
    {0x8, SA_NOCLDSTOP},
    {0x10, SA_NODEFER},
    {0x20, SA_NOCLDWAIT},
}};

std::mutex& actionsLock() {
    static std::mutex lock;
    return lock;
}

std::array<Action, kSignals> actions{};  // guarded by actionsLock()

// What deliver() reads: a handler cannot take a lock.
std::array<std::atomic<Handler>, kSignals> handlers{};
std::array<std::atomic<bool>, kSignals> informed{};

void deliver(int nativeNumber, siginfo_t* native, void* context) {
    const int signal = macSignal(nativeNumber);
    const auto index = static_cast<size_t>(signal);
    const Handler handler = handlers[index].load();
    if (!informed[index].load()) {
        handler(signal);
        return;
    }
    SignalInformation information{};
    information.signal = signal;
    information.code = native->si_code == SI_USER ? kSentByUser : native->si_code;
    information.address = native->si_addr;
    if (native->si_code <= 0) {
        information.address = nullptr;
        information.sender = native->si_pid;
        information.user = native->si_uid;
    }
    reinterpret_cast<InformedHandler>(reinterpret_cast<void*>(handler))(signal, &information,
                                                                        context);
}

sigset_t nativeMask(uint32_t mask) {
    sigset_t native;
    sigemptyset(&native);
    for (int signal = 1; signal < kSignals; ++signal) {
        if ((mask >> (signal - 1) & 1) != 0 && nativeSignal(signal) != 0) {
            sigaddset(&native, nativeSignal(signal));
        }
    }
    return native;
}

uint32_t macMask(const sigset_t& native) {
    uint32_t mask = 0;
    for (int signal = 1; signal < kSignals; ++signal) {
        if (nativeSignal(signal) != 0 && sigismember(&native, nativeSignal(signal)) == 1) {
            mask |= uint32_t{1} << (signal - 1);
        }
    }
    return mask;
}

bool isFunction(Handler handler) {
    return handler != SIG_DFL && handler != SIG_IGN;
}

int install(int signal, const Action& action) {
    const auto index = static_cast<size_t>(signal);
    struct sigaction native {};
    native.sa_mask = nativeMask(action.mask);
    for (const Flag& flag : kFlags) {
        native.sa_flags |= (action.flags & flag.mac) != 0 ? flag.native : 0;
    }
    if (isFunction(action.handler)) {
        handlers[index].store(action.handler);
        informed[index].store((action.flags & kInformed) != 0);
        native.sa_flags |= SA_SIGINFO;
        native.sa_sigaction = deliver;
    } else {
        native.sa_handler = action.handler;
    }
    return sigaction(nativeSignal(signal), &native, nullptr);
}

int setAction(int signal, const Action* action, Action* before) {
    if (nativeSignal(signal) == 0) {
        errno = EINVAL;
        return -1;
    }
    const std::lock_guard lock(actionsLock());
    Action& current = actions[static_cast<size_t>(signal)];
    const Action previous = current;
    if (action != nullptr) {
        if (install(signal, *action) != 0) {
            return -1;
        }
        current = *action;
    }
    if (before != nullptr) {
        *before = previous;
    }
    return 0;
}

// As BSD's: system calls go on after the handler, which stays installed.
Handler setHandler(int signal, Handler handler) {
    const Action action{handler, 0, 0x2};
    Action before{};
    return setAction(signal, &action, &before) == 0 ? before.handler : SIG_ERR;
}

// 0 asks only whether it could be sent.
int sendable(int signal) {
    return signal == 0 || nativeSignal(signal) != 0 ? nativeSignal(signal) : -1;
}

int sendToProcess(pid_t process, int signal) {
    return kill(process, sendable(signal));
}

int sendToThread(Thread* thread, int signal) {
    const std::lock_guard lock(threadsLock());
    if (!isThread(thread)) {
        return macError(ESRCH);
    }
    return macError(pthread_kill(thread->native, sendable(signal)));
}

int sendToSelf(int signal) {
    return raise(sendable(signal));
}

// How: BLOCK 1, UNBLOCK 2, SETMASK 3, here 0, 1, 2.
int changeMask(int how, const uint32_t* mask, uint32_t* before) {
    sigset_t asked{};
    if (mask != nullptr) {
        asked = nativeMask(*mask);
    }
    sigset_t previous{};
    const int error = pthread_sigmask(how - 1, mask == nullptr ? nullptr : &asked, &previous);
    if (error == 0 && before != nullptr) {
        *before = macMask(previous);
    }
    return macError(error);
}

int changeProcessMask(int how, const uint32_t* mask, uint32_t* before) {
    const int error = changeMask(how, mask, before);
    if (error != 0) {
        setMacErrno(error);
        return -1;
    }
    return 0;
}

static_assert(SIG_BLOCK == 0 && SIG_UNBLOCK == 1 && SIG_SETMASK == 2);

const Registration registration{
    symbol("_sigaction", setAction),
    symbol("_signal", setHandler),
    symbol("_kill", sendToProcess),
    symbol("_raise", sendToSelf),
    symbol("_pthread_kill", sendToThread),
    symbol("_pthread_sigmask", changeMask),
    symbol("_sigprocmask", changeProcessMask),
};

}  // namespace

int nativeSignal(int macSignal) {
    return macSignal > 0 && macSignal < kSignals ? kNative[static_cast<size_t>(macSignal)] : 0;
}

int macSignal(int nativeSignal) {
    for (int signal = 1; signal < kSignals; ++signal) {
        if (kNative[static_cast<size_t>(signal)] == nativeSignal) {
            return signal;
        }
    }
    return 0;
}

}  // namespace system_library
