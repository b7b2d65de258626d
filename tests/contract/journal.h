// One order for what the recorders see apart: locks, messages, bounded memory calls, pixel
// functions.
//
// While a Journal lives, what the thread that made it does is noted in it, call for call.
#ifndef CONTRACT_JOURNAL_H
#define CONTRACT_JOURNAL_H

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

class Journal {
  public:
    // names: what to call the locks; others are "other lock".
    explicit Journal(std::map<const void*, std::string> names = {});
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // "lock NAME", "unlock NAME", "memset_s(SIZE, COUNT)", "memcpy_s(SIZE, COUNT)", the pixel
    // functions as scaler_recorder has them, and messages as they were written, pointers replaced.
    const std::vector<std::string>& entries() const { return entries_; }

    // From now on each message is followed by " | " and what witness says at that moment.
    void addToMessages(std::function<std::string()> witness) { witness_ = std::move(witness); }

    // For the recorders: a note for the calling thread's journal, if it keeps one.
    static void note(const std::string& entry);
    static void noteMessage(const std::string& text);
    static void noteLock(const std::string& operation, const void* section);

  private:
    std::map<const void*, std::string> names_;
    std::vector<std::string> entries_;
    std::function<std::string()> witness_;
};

#endif
