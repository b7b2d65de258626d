#include "objects.h"

namespace scripted {

void ObjectTable::adopt(std::unique_ptr<Object> object) {
    object->label_ = std::string(object->kind()) + "#" + std::to_string(++made_[object->kind()]);
    keep(std::move(object));
}

void ObjectTable::keep(std::unique_ptr<Object> object) {
    inOrder_.push_back(object.get());
    const void* const address = object.get();
    objects_[address] = std::move(object);
}

Object* ObjectTable::at(const void* reference) const {
    const auto found = objects_.find(reference);
    return found == objects_.end() ? nullptr : found->second.get();
}

Object* ObjectTable::find(const void* reference, const char* function) {
    Object* const object = at(reference);
    if (object == nullptr) {
        blame(std::string(function) + " of a foreign object");
        return nullptr;
    }
    if (object->references_ <= 0) {
        blame(std::string(function) + " of a released object: " + object->label());
        return nullptr;
    }
    return object;
}

void ObjectTable::retain(const void* reference, const char* function) {
    if (Object* const object = find(reference, function); object != nullptr) {
        ++object->references_;
    }
}

void ObjectTable::release(const void* reference, const char* function) {
    Object* const object = find(reference, function);
    if (object != nullptr && !object->constant_ && --object->references_ == 0) {
        object->dispose();
    }
}

std::string ObjectTable::labelOf(const void* reference) const {
    if (reference == nullptr) {
        return "null";
    }
    const Object* const object = at(reference);
    return object == nullptr ? "foreign" : object->label();
}

std::vector<std::string> ObjectTable::leaks() const {
    std::vector<std::string> leaked;
    for (const Object* object : inOrder_) {
        if (!object->constant_ && object->references_ > 0) {
            leaked.push_back("leaked " + object->label() + ", references " +
                             std::to_string(object->references_));
        }
    }
    return leaked;
}

void ObjectTable::reset() {
    std::erase_if(inOrder_, [](const Object* object) { return !object->constant_; });
    std::erase_if(objects_, [](const auto& entry) { return !entry.second->constant_; });
    made_.clear();
    faults_.clear();
}

}  // namespace scripted
