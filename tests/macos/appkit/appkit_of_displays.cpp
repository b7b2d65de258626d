// An AppKit whose screens are the displays that CoreGraphics reports at the moment of the message,
// for a library that runs over a platform of ours: its ScreenInfo and its monitors then speak of
// the same displays.
//
// Life: an object lives as long as the process. Each display has one screen, however often it comes
// and goes, and the same displays in the same order are the same array.
//
// Threads: any.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>

#include "appkit_classes.h"

// Where a display's screen lies and how many pixels its points have, the library itself works out
// where there is no AppKit: there is no second way to do it. What it exports there has another name
// here, or it would be taken for the library's.
#define ScreenInfo screenInfoWithoutAppKit
#include "ScreenInfo.cpp"  // NOLINT(bugprone-suspicious-include): for what it does not export
#undef ScreenInfo

namespace appkit {

struct Object {
    Kind kind;
    CGDirectDisplayID display;
    std::vector<Object*> items;  // an array's
};

namespace {

class Objects {
  public:
    Object* of(Kind kind, CGDirectDisplayID display) {
        const std::lock_guard lock(mutex_);
        return make(kind, display);
    }

    Object* arrayOf(const std::vector<CGDirectDisplayID>& displays) {
        const std::lock_guard lock(mutex_);
        const auto [entry, isNew] =
            arrays_.try_emplace(displays, Object{Kind::kArray, kNoDisplay, {}});
        if (isNew) {
            for (const CGDirectDisplayID display : displays) {
                entry->second.items.push_back(make(Kind::kScreen, display));
            }
        }
        return &entry->second;
    }

  private:
    Object* make(Kind kind, CGDirectDisplayID display) {
        return &objects_.try_emplace({kind, display}, Object{kind, display, {}}).first->second;
    }

    std::mutex mutex_;
    std::map<std::pair<Kind, CGDirectDisplayID>, Object> objects_;
    std::map<std::vector<CGDirectDisplayID>, Object> arrays_;
};

// Never destroyed: another thread may still send messages while the process ends.
Objects& objects() {
    static auto& objects = *new Objects;
    return objects;
}

// As the runtime ends a process in such cases.
[[noreturn]] void endProcess(const char* why, const char* what) {
    std::fprintf(stderr, "AppKit of displays: %s: %s\n", why, what);
    std::abort();
}

}  // namespace

Object* screens(const Object* /*screenClass*/, const char* /*selector*/) {
    return objects().arrayOf(activeDisplays());
}

Object* mainScreen(const Object* /*screenClass*/, const char* /*selector*/) {
    const CGDirectDisplayID main = mainDisplay(activeDisplays());
    return main == kNoDisplay ? nullptr : objects().of(Kind::kScreen, main);
}

unsigned long countByEnumerating(const Object* array, const char* /*selector*/, Walk* walk,
                                 Object** buffer, unsigned long length) {
    static unsigned long changes = 0;  // stays: other displays are another array
    const size_t start = std::min<size_t>(walk->state, array->items.size());
    const size_t count = std::min<size_t>(length, array->items.size() - start);
    std::copy_n(array->items.begin() + static_cast<std::ptrdiff_t>(start), count, buffer);
    walk->state += count;
    walk->items = buffer;
    walk->changes = &changes;
    return count;
}

Object* deviceDescription(const Object* screen, const char* /*selector*/) {
    return objects().of(Kind::kDescription, screen->display);
}

CGRect frame(const Object* screen, const char* /*selector*/) {
    return screenFrame(screen->display, mainDisplay(activeDisplays()));
}

double backingScaleFactor(const Object* screen, const char* /*selector*/) {
    return backingScale(screen->display);
}

Object* objectForKeyedSubscript(const Object* description, const char* /*selector*/,
                                const ConstantString* key) {
    const std::string_view text(key->bytes, static_cast<size_t>(key->length));
    return text == "NSScreenNumber" ? objects().of(Kind::kNumber, description->display) : nullptr;
}

long integerValue(const Object* number, const char* /*selector*/) {
    return number->display;
}

Method methodFor(const void* receiver, const char* selector, Result result) noexcept {
    if (receiver == nullptr) {
        return result == Result::kMemory ? nonsenseMethod() : zeroMethod();
    }
    const Kind kind =
        receiver == &screenClass ? Kind::kScreenClass : static_cast<const Object*>(receiver)->kind;
    const Implementation* const found = findImplementation(kind, selector);
    if (found == nullptr || found->result != result) {
        endProcess("not understood", selector);
    }
    return found->method;
}

}  // namespace appkit

extern "C" void objc_enumerationMutation(const void* /*collection*/) {
    appkit::endProcess("changed during a walk", "screens");
}
