// The classes that ScreenInfo sends messages to: what they understand, and what the compiler lays
// out and names by itself. A stand-in for AppKit writes the methods and says what an object is.
#ifndef APPKIT_CLASSES_H
#define APPKIT_CLASSES_H

#include <CoreGraphics/CGGeometry.h>

#include <string_view>

#include "message_send.h"

// A name in assembly is taken as it is: macOS's begin with an underscore.
#ifdef __APPLE__
#define COMPILERS_NAME(name) asm("_" name) __attribute__((visibility("default")))
#else
#define COMPILERS_NAME(name) asm(name)
#endif

namespace appkit {

// Nothing ever reads the classes: only where they are counts. The compiler's names for them are no
// identifiers of ours to use.
extern char screenClass COMPILERS_NAME("OBJC_CLASS_$_NSScreen");
extern char constantStringClass COMPILERS_NAME("__CFConstantStringClassReference");

// @"..." of ASCII text.
struct ConstantString {
    const void* isa;
    int flags;
    const char* bytes;
    long length;
};

struct Object;

// The state of a for-in statement.
struct Walk {
    unsigned long state;
    Object** items;
    unsigned long* changes;
    unsigned long extra[5];
};

enum class Kind { kScreenClass, kArray, kScreen, kDescription, kNumber };

// The methods, each of one kind of object.
Object* screens(const Object* screenClass, const char* selector);
Object* mainScreen(const Object* screenClass, const char* selector);
unsigned long countByEnumerating(const Object* array, const char* selector, Walk* walk,
                                 Object** buffer, unsigned long length);
Object* deviceDescription(const Object* screen, const char* selector);
CGRect frame(const Object* screen, const char* selector);
double backingScaleFactor(const Object* screen, const char* selector);
Object* objectForKeyedSubscript(const Object* description, const char* selector,
                                const ConstantString* key);
long integerValue(const Object* number, const char* selector);

struct Implementation {
    Kind kind;
    std::string_view selector;
    Result result;
    Method method;
};

// Null for what objects of this kind do not understand.
const Implementation* findImplementation(Kind kind, std::string_view selector);

}  // namespace appkit

// Called when *Walk::changes is not what it was at the first answer.
extern "C" __attribute__((visibility("default"))) void objc_enumerationMutation(
    const void* collection);

#endif
