#include "scripted_appkit.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "appkit_classes.h"

using scripted_appkit::Screen;

namespace appkit {

// Everything that a message can go to, nil aside.
struct Object {
    Kind kind;
    std::string label;
    Screen screen{};                // that it is, or that it belongs to
    std::optional<size_t> place{};  // of that screen in the array
    Object* content = nullptr;      // a screen's description, a description's number
    bool gone = false;
};

namespace {

struct Script {
    std::deque<Object> objects;  // all that were ever made
    std::vector<Object*> screens;
    Object* array = nullptr;
    Object* mainScreen = nullptr;
    size_t batch = 0;
    std::optional<size_t> changeAfter;
    unsigned long changes = 0;  // of the array
    std::vector<std::string> messages;
    std::thread::id sender;
    std::vector<std::string> faults;
};

Script& script() {
    static Script script;
    return script;
}

void blame(const std::string& fault) {
    script().faults.push_back(fault);
}

// What matters of the arguments and the result of the message that is being answered.
void note(const std::string& detail) {
    script().messages.back() += " " + detail;
}

Object* make(Object object) {
    return &script().objects.emplace_back(std::move(object));
}

Object* makeScreen(const Screen& screen, const std::string& label, std::optional<size_t> place) {
    const std::string whose = place ? std::to_string(*place) : "of " + label;
    Object* number = nullptr;
    if (screen.number) {
        number = make({Kind::kNumber, "number " + whose, screen, place});
    }
    Object* description = nullptr;
    if (screen.described) {
        description = make({Kind::kDescription, "description " + whose, screen, place, number});
    }
    return make({Kind::kScreen, label, screen, place, description});
}

void retire(Object* object) {
    for (; object != nullptr; object = object->content) {
        object->gone = true;
    }
}

// Null for what was never handed out. The receiver is not read before it is known.
const Object* objectAt(const void* receiver) {
    static const Object classObject{Kind::kScreenClass, "NSScreen"};
    if (receiver == &screenClass) {
        return &classObject;
    }
    const std::deque<Object>& objects = script().objects;
    const auto found =
        std::find_if(objects.begin(), objects.end(),
                     [receiver](const Object& object) { return &object == receiver; });
    return found == objects.end() ? nullptr : &*found;
}

std::string labelOf(const Object* object) {
    return object == nullptr ? "foreign" : object->label;
}

void record(const std::string& receiver, const char* selector) {
    script().messages.push_back("[" + receiver + " " + selector + "]");
    script().sender = std::this_thread::get_id();
}

}  // namespace

Object* screens(const Object* /*self*/, const char* /*selector*/) {
    return script().array;
}

Object* mainScreen(const Object* /*self*/, const char* /*selector*/) {
    return script().mainScreen;
}

unsigned long countByEnumerating(const Object* /*self*/, const char* /*selector*/, Walk* walk,
                                 Object** buffer, unsigned long length) {
    const std::vector<Object*>& all = script().screens;
    const size_t start = std::min<size_t>(walk->state, all.size());
    const size_t count = std::min({size_t{length}, script().batch, all.size() - start});
    std::copy_n(all.begin() + static_cast<std::ptrdiff_t>(start), count, buffer);
    walk->state += count;
    walk->items = buffer;
    walk->changes = &script().changes;
    note(std::to_string(length) + " -> " + std::to_string(count));
    return count;
}

Object* deviceDescription(const Object* self, const char* /*selector*/) {
    return self->content;
}

CGRect frame(const Object* self, const char* /*selector*/) {
    return self->screen.frame;
}

double backingScaleFactor(const Object* self, const char* /*selector*/) {
    return self->screen.scale;
}

Object* objectForKeyedSubscript(const Object* self, const char* /*selector*/,
                                const ConstantString* key) {
    if (key == nullptr || key->isa != &constantStringClass) {
        blame("the key is no constant string: " + script().messages.back());
        return nullptr;
    }
    const std::string text(key->bytes, static_cast<size_t>(key->length));
    note("@\"" + text + "\"");
    return text == "NSScreenNumber" ? self->content : nullptr;
}

long integerValue(const Object* self, const char* /*selector*/) {
    if (self->place && self->place == script().changeAfter) {
        ++script().changes;
    }
    return self->screen.number.value_or(0);
}

Method methodFor(const void* receiver, const char* selector, Result result) noexcept {
    const Method nothing = result == Result::kMemory ? nonsenseMethod() : zeroMethod();
    const Object* const object = objectAt(receiver);
    record(receiver == nullptr ? "nil" : labelOf(object), selector);
    if (receiver == nullptr) {
        return nothing;
    }
    const std::string& message = script().messages.back();
    if (object == nullptr || object->gone) {
        blame((object == nullptr ? "not an object: " : "gone: ") + message);
        return nothing;
    }
    const Implementation* const found = findImplementation(object->kind, selector);
    if (found == nullptr || found->result != result) {
        blame((found == nullptr ? "not understood: " : "result of another kind: ") + message);
        return nothing;
    }
    return found->method;
}

}  // namespace appkit

namespace scripted_appkit {

using namespace appkit;

void reset() {
    setScreens({});
    retire(std::exchange(script().mainScreen, nullptr));
    setBatch(16);
    script().changeAfter.reset();
    script().faults.clear();
    forgetMessages();
}

void setScreens(const std::vector<Screen>& screens) {
    withholdScreens();
    for (size_t place = 0; place < screens.size(); ++place) {
        const std::string label = "screen " + std::to_string(place);
        script().screens.push_back(makeScreen(screens[place], label, place));
    }
    script().array = make({Kind::kArray, "screens"});
}

void withholdScreens() {
    std::for_each(script().screens.begin(), script().screens.end(), retire);
    script().screens.clear();
    retire(std::exchange(script().array, nullptr));
}

void setMainScreen(const Screen& screen) {
    retire(script().mainScreen);
    script().mainScreen = makeScreen(screen, "main screen", std::nullopt);
}

void setBatch(size_t screens) {
    script().batch = screens;
}

void changeScreensAfter(size_t place) {
    script().changeAfter = place;
}

std::vector<std::string> messages() {
    return script().messages;
}

void forgetMessages() {
    script().messages.clear();
}

std::thread::id sender() {
    return script().sender;
}

std::vector<std::string> faults() {
    return script().faults;
}

}  // namespace scripted_appkit

// Goes on as if nothing had changed, where the real runtime ends the process: the walk is to be
// seen to its end.
extern "C" void objc_enumerationMutation(const void* collection) {
    using namespace appkit;
    const Object* const object = objectAt(collection);
    script().messages.push_back("objc_enumerationMutation(" + labelOf(object) + ")");
    if (object == nullptr || object->gone) {
        blame("not an array: " + script().messages.back());
    }
}
