/*
 * Where the library's trace goes: to standard error up to the level that the user asked for, else
 * nowhere, because a failing command answers with one line of its own.
 *
 * Lives for the whole program and must outlive every capture.
 */
#ifndef CAPMGR_TRACE_OUTPUT_H
#define CAPMGR_TRACE_OUTPUT_H

#include <chrono>
#include <optional>

class TraceOutput {
  public:
    explicit TraceOutput(std::optional<int> level) : level_(level.value_or(-1)) { take(); }

    /* Leaves the level as it is: a capture thread that could not be ended must stay silent. */
    ~TraceOutput();
    TraceOutput(const TraceOutput&) = delete;
    TraceOutput& operator=(const TraceOutput&) = delete;

    /* Routes all messages here and lowers the level of the facility to what is shown. */
    void take() const;

    /* Writes one message, behind the seconds since this was made, if its level is shown. Any
     * thread, one at a time. */
    void show(int level, const char* text) const;

    /* Highest level shown; below 0 none is. */
    int level() const { return level_; }

  private:
    int level_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

#endif
