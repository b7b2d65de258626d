#include "lock_recorder.h"

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "journal.h"
#include "next_definition.h"
#include "vqutilc.h"

namespace {

struct Record {
    std::mutex mutex;
    std::vector<std::pair<std::thread::id, LockUse>> uses;

    static Record& instance() {
        static Record& record = *new Record;
        return record;
    }
};

std::atomic<bool> cleanupThrows{false};

void record(const VQ_Critical_Section* section, const char* operation) {
    Journal::noteLock(operation, section);
    const std::lock_guard<std::mutex> lock(Record::instance().mutex);
    Record::instance().uses.emplace_back(std::this_thread::get_id(), LockUse{section, operation});
}

using Operation = void (*)(VQ_Critical_Section*);

}  // namespace

namespace lock_recorder {

void forget() {
    const std::lock_guard<std::mutex> lock(Record::instance().mutex);
    Record::instance().uses.clear();
}

void throwAtNextCleanup() {
    cleanupThrows = true;
}

std::vector<LockUse> ofThisThread() {
    const std::lock_guard<std::mutex> lock(Record::instance().mutex);
    std::vector<LockUse> uses;
    for (const auto& [thread, use] : Record::instance().uses) {
        if (thread == std::this_thread::get_id()) {
            uses.push_back(use);
        }
    }
    return uses;
}

}  // namespace lock_recorder

void VQ_Critical_Section::init() {
    static const auto next = nextDefinition<Operation>("_ZN19VQ_Critical_Section4initEv");
    record(this, "init");
    next(this);
}

void VQ_Critical_Section::cleanup() {
    static const auto next = nextDefinition<Operation>("_ZN19VQ_Critical_Section7cleanupEv");
    record(this, "cleanup");
    if (cleanupThrows.exchange(false)) {
        throw std::runtime_error("the cleanup of a lock fails");
    }
    next(this);
}

void VQ_Critical_Section::lock() {
    static const auto next = nextDefinition<Operation>("_ZN19VQ_Critical_Section4lockEv");
    record(this, "lock");
    next(this);
}

void VQ_Critical_Section::unlock() {
    static const auto next = nextDefinition<Operation>("_ZN19VQ_Critical_Section6unlockEv");
    record(this, "unlock");
    next(this);
}
