// What the scripted platform was told and what was asked of it: the state behind the control
// interface and the platform functions.
#ifndef SCRIPTED_SCRIPT_H
#define SCRIPTED_SCRIPT_H

#include <mach/clock_types.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

#include "objects.h"
#include "scripted_platform.h"

namespace scripted {

struct PixelSize {
    size_t width;
    size_t height;
};

class Script {
  public:
    // Never destroyed: code that runs at exit may still release what it holds.
    static Script& instance();

    // Recursive: a platform function calls the caller's back, which calls platform functions.
    std::recursive_mutex& mutex() { return mutex_; }

    // All below: the caller holds mutex(), except where a comment says otherwise.

    void reset();
    ObjectTable& objects() { return objects_; }

    std::vector<Display>& displays() { return displays_; }
    const Display* display(uint32_t id) const;
    const Display* displayAt(double x, double y) const;

    std::vector<std::string> preferredLocales;
    bool leavesCutText = false;
    std::vector<uint32_t> windows;
    std::optional<PixelSize> imageSize;  // of every image
    mach_timespec_t calendar{};
    size_t clockPorts = 0;  // handed out and not given back

    // Takes the lock itself: records the call, hangs if it is to, and tells whether it is to fail.
    struct Admission {
        size_t record;
        bool fails;
    };
    Admission admit(const std::string& function, const std::string& arguments);

    void addResult(size_t record, const std::string& result);
    std::vector<Call> calls() const { return calls_; }
    void forgetCalls();

    void failFrom(const std::string& function, size_t skip, size_t times);
    void actOn(const std::string& function, const std::function<void()>& action, size_t skip);

    // These take a lock of their own.
    void hangNext(const std::string& function, bool cancellable);
    bool awaitHang();
    void letGo();

  private:
    struct Failure {
        size_t skip;
        size_t times;
    };

    struct Action {
        size_t skip;
        std::function<void()> run;
    };

    void actIfTold(const std::string& function);
    bool takesFailure(const std::string& function);
    void hangIfTold(const std::string& function);

    // A thread in its hang; lock holds hangMutex_, and is free when it ends, cancelled or not.
    struct Hang {
        Script& script;
        std::unique_lock<std::mutex>& lock;
    };
    void hang(std::unique_lock<std::mutex>& lock);
    static void endHang(void* hang);

    std::recursive_mutex mutex_;
    ObjectTable objects_;
    std::vector<Display> displays_;
    std::vector<Call> calls_;
    size_t forgotten_ = 0;  // records dropped so far: the number of the first one kept
    std::map<std::string, Failure> failures_;
    std::map<std::string, Action> actions_;

    std::mutex hangMutex_;
    std::condition_variable hangChanged_;
    std::string hangFunction_;  // empty when nothing is to hang
    bool hangCancellable_ = true;
    bool hanging_ = false;
};

inline std::string text(const char* value) {
    return value == nullptr ? "null" : '"' + std::string(value) + '"';
}
std::string text(double value);
std::string text(const CGRect& rect);

template <typename Number>
requires std::is_arithmetic_v<Number> || std::is_enum_v<Number> std::string text(Number value) {
    return std::to_string(static_cast<long long>(value));
}

// Objects by label; other pointers only as null or not.
std::string objectText(const void* reference);
struct Reference {
    const void* pointer;
};
inline std::string text(Reference reference) {
    return objectText(reference.pointer);
}
struct Output {
    const void* pointer;
};
inline std::string text(Output output) {
    return output.pointer == nullptr ? "null" : "out";
}

// The platform's own work, while it lives.
class Work {
  public:
    Work() : told_(watcher) { tell(true); }
    ~Work() { tell(false); }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    static inline std::atomic<void (*)(bool begins)> watcher = nullptr;

  private:
    void tell(bool begins) const {
        if (told_ != nullptr) {
            told_(begins);
        }
    }

    void (*const told_)(bool begins);
};

// One call of a platform function, from its first line to its last.
class Invocation {
  public:
    template <typename... Arguments>
    explicit Invocation(const char* function, const Arguments&... arguments) : function_(function) {
        std::string list;
        ((list += (list.empty() ? "" : ", ") + text(arguments)), ...);
        admission_ = Script::instance().admit(function, list);
        lock_ = std::unique_lock(Script::instance().mutex());
    }

    bool fails() const { return admission_.fails; }
    const char* function() const { return function_; }
    Script& script() const { return Script::instance(); }
    ObjectTable& objects() const { return Script::instance().objects(); }

    template <typename T>
    T* use(const void* reference) const {
        return objects().use<T>(reference, function_);
    }

    // Adds a new object to the record and to the table.
    template <typename T>
    T* make(std::unique_ptr<T> object) const {
        T* const made = objects().add(std::move(object));
        script().addResult(admission_.record, made->label());
        return made;
    }

  private:
    Work work_;  // ends last
    const char* function_;
    Script::Admission admission_{};
    std::unique_lock<std::recursive_mutex> lock_;
};

}  // namespace scripted

#endif
