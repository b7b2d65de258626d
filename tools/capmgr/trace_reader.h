/*
 * Reads the library's messages out of a trace, or out of any log that holds them somewhere in its
 * lines. Lines of other origin, of any length and with any bytes, are passed over.
 */
#ifndef CAPMGR_TRACE_READER_H
#define CAPMGR_TRACE_READER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "interruption.h"

struct TraceMessage {
    std::size_t line = 0;           // counted from 1
    std::optional<double> seconds;  // of the time in front of it, by that time's own beginning
    std::string text;               // behind the tag
};

class TraceReader {
  public:
    /* "-" is standard input. Throws Failure when it cannot be opened. */
    TraceReader(const std::string& path, const Interruption& interruption);
    ~TraceReader();
    TraceReader(const TraceReader&) = delete;
    TraceReader& operator=(const TraceReader&) = delete;

    /* The next message; none at the end, and after an interruption. Throws Failure when it cannot
     * be read. */
    std::optional<TraceMessage> read();

    /* How many lines were read so far. */
    std::size_t lines() const { return line_; }

  private:
    bool readLine(std::string& line);
    bool fill();

    std::string path_;
    const Interruption& interruption_;
    int descriptor_;
    std::string buffer_;
    std::size_t position_ = 0;  // in the buffer
    std::size_t line_ = 0;
};

#endif
