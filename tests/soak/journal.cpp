#include "journal.h"

#include <vqutilc.h>

#include <ostream>
#include <stdexcept>
#include <utility>

Journal::Journal(const std::string& path) {
    // Errors are caused on purpose, and what they lead to is checked: they are no news.
    vq_set_trace_level(-1);
    if (path.empty())
        return;
    file_.open(path);
    if (!file_)
        throw std::runtime_error("cannot write the journal to " + path);
    vq_set_trace_writer(takeTrace, this);
    vq_set_trace_level(0);
}

Journal::~Journal() {
    vq_set_trace_level(-1);
    vq_set_trace_writer(nullptr, nullptr);
}

/* An error that comes again with each frame is written once. */
void Journal::takeTrace(void* journal, int, const char* text, int) {
    auto& self = *static_cast<Journal*>(journal);
    const std::lock_guard lock(self.mutex_);
    if (std::exchange(self.lastTrace_, text) != text)
        self.write(std::string("    ") + text);
}

/* Flushed each time, so that a crash does not take the last lines along. */
void Journal::write(const std::string& line) {
    file_ << line << std::endl;
}

void Journal::note(const std::string& line) {
    constexpr std::size_t kTail = 60;
    tail_.push_back(std::to_string(++operations_) + ": " + line);
    if (tail_.size() > kTail)
        tail_.pop_front();
    const std::lock_guard lock(mutex_);
    if (file_.is_open())
        write(tail_.back());
}

void Journal::printTail(std::ostream& out) const {
    for (const std::string& line : tail_)
        out << line << '\n';
}
