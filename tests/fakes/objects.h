// The scripted platform's objects: counted strictly, labelled for the record, and never reused.
//
// A script holds every object ever made until the next reset. An object whose last reference was
// given back keeps its place but loses its content, so that a late use is found.
#ifndef SCRIPTED_OBJECTS_H
#define SCRIPTED_OBJECTS_H

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "scripted_platform.h"

namespace scripted {

class Object {
  public:
    explicit Object(const char* kind) : kind_(kind) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    // Gives up what the object holds, references included. Called once, at the last release.
    virtual void dispose() = 0;

    const std::string& label() const { return label_; }
    const char* kind() const { return kind_; }

  private:
    friend class ObjectTable;

    const char* kind_;
    std::string label_;
    long references_ = 1;
    bool constant_ = false;
};

// Every object by its address. The caller serialises: see Script.
class ObjectTable {
  public:
    // Adds object with one reference; the table owns it.
    template <typename T>
    T* add(std::unique_ptr<T> object) {
        T* const raw = object.get();
        adopt(std::move(object));
        return raw;
    }

    // Constants have no count, are labelled by what they say, and outlive a reset.
    template <typename T>
    T* addConstant(std::unique_ptr<T> object, std::string label) {
        T* const raw = object.get();
        raw->constant_ = true;
        raw->label_ = std::move(label);
        keep(std::move(object));
        return raw;
    }

    // The live object of kind T at reference; a fault, and null, when there is none.
    template <typename T>
    T* use(const void* reference, const char* function) {
        Object* const object = find(reference, function);
        T* const typed = dynamic_cast<T*>(object);
        if (object != nullptr && typed == nullptr) {
            blame(std::string(function) + " of a foreign object: " + object->label());
        }
        return typed;
    }

    void retain(const void* reference, const char* function);
    void release(const void* reference, const char* function);

    // The label of what is at reference, "null", or "foreign".
    std::string labelOf(const void* reference) const;

    void blame(std::string fault) { faults_.push_back(std::move(fault)); }
    const std::vector<std::string>& faults() const { return faults_; }
    std::vector<std::string> leaks() const;
    void reset();

  private:
    void adopt(std::unique_ptr<Object> object);
    void keep(std::unique_ptr<Object> object);
    Object* at(const void* reference) const;
    Object* find(const void* reference, const char* function);

    std::map<const void*, std::unique_ptr<Object>> objects_;
    std::vector<const Object*> inOrder_;  // of making
    std::map<std::string, size_t> made_;  // by kind
    std::vector<std::string> faults_;
};

}  // namespace scripted

struct __CFString final : scripted::Object {
    explicit __CFString(std::string value) : Object("string"), text(std::move(value)) {}
    void dispose() override {}
    const std::string text;
};

struct __CFArray final : scripted::Object {
    __CFArray(std::vector<const void*> initial, const CFArrayCallBacks* held, bool isMutable);
    void dispose() override;
    std::vector<const void*> values;
    CFArrayCallBacks callBacks;
    const bool changeable;
};

struct __CFDictionary final : scripted::Object {
    using Pair = std::pair<__CFString*, scripted::Object*>;
    explicit __CFDictionary(std::vector<Pair> content)
        : Object("dictionary"), pairs(std::move(content)) {}
    void dispose() override;  // gives back its keys and values
    std::vector<Pair> pairs;
};

using PixelBytes = std::shared_ptr<const std::vector<uint8_t>>;

struct __CFData final : scripted::Object {
    explicit __CFData(PixelBytes content) : Object("data"), bytes(std::move(content)) {}
    void dispose() override { bytes.reset(); }
    PixelBytes bytes;
};

// Lives and dies with its image; nobody counts its references. The bytes are painted when they are
// first asked for, as most images are only measured.
struct CGDataProvider final : scripted::Object {
    explicit CGDataProvider(std::function<PixelBytes()> painter)
        : Object("provider"), paint(std::move(painter)) {}
    void dispose() override {
        paint = nullptr;
        bytes.reset();
    }
    std::function<PixelBytes()> paint;
    PixelBytes bytes;
};

// Lives and dies with its image as well.
struct CGColorSpace final : scripted::Object {
    CGColorSpace() : Object("space") {}
    void dispose() override {}
};

struct CGImage final : scripted::Object {
    CGImage(size_t imageWidth, size_t imageHeight, size_t pitch, CGDataProvider* imageProvider,
            CGColorSpace* imageSpace)
        : Object("image"),
          width(imageWidth),
          height(imageHeight),
          bytesPerRow(pitch),
          provider(imageProvider),
          space(imageSpace) {}
    void dispose() override;  // and its provider and colour space
    const size_t width;
    const size_t height;
    const size_t bytesPerRow;
    CGDataProvider* const provider;
    CGColorSpace* const space;
};

struct CGContext final : scripted::Object {
    CGContext(void* memory, size_t contextWidth, size_t contextHeight, size_t pitch)
        : Object("context"),
          data(static_cast<uint8_t*>(memory)),
          width(contextWidth),
          height(contextHeight),
          bytesPerRow(pitch) {}
    void dispose() override {}
    uint8_t* const data;
    const size_t width;
    const size_t height;
    const size_t bytesPerRow;
};

struct CGDisplayMode final : scripted::Object {
    explicit CGDisplayMode(scripted::Mode content) : Object("mode"), mode(std::move(content)) {}
    void dispose() override {}
    const scripted::Mode mode;
};

#endif
