#include "journal.h"

#include <utility>

namespace {

thread_local Journal* open = nullptr;

}  // namespace

Journal::Journal(std::map<const void*, std::string> names) : names_(std::move(names)) {
    open = this;
}

Journal::~Journal() {
    open = nullptr;
}

void Journal::note(const std::string& entry) {
    if (open != nullptr) {
        open->entries_.push_back(entry);
    }
}

void Journal::noteMessage(const std::string& text) {
    if (open != nullptr) {
        note(open->witness_ ? text + " | " + open->witness_() : text);
    }
}

void Journal::noteLock(const std::string& operation, const void* section) {
    if (open != nullptr) {
        const auto name = open->names_.find(section);
        note(operation + " " + (name == open->names_.end() ? "other lock" : name->second));
    }
}
