/*
 * What a trace tells of captures: each with its events in the order of the trace.
 *
 * The messages of the calls name the capture. Those of the capture thread do not: they are the
 * running capture's if one runs, and nobody's in particular while several do.
 */
#ifndef CAPMGR_TRACE_TIMELINE_H
#define CAPMGR_TRACE_TIMELINE_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "trace_reader.h"

struct TraceEvent {
    enum class Kind { Call, Frames, Fault };

    std::size_t line = 0;           // in the trace, of the first message
    std::optional<double> seconds;  // since the first event's time
    std::optional<double> until;    // of the last message, where there are several
    Kind kind = Kind::Call;
    std::string name;         // "started"
    std::string detail;       // "monitor 0 (screen, 1280x720), the whole monitor"
    std::uint64_t count = 1;  // messages, frames
};

class TraceTimeline {
  public:
    using Events = std::vector<TraceEvent>;

    void add(const TraceMessage& message);

    const std::map<unsigned int, Events>& captures() const { return captures_; }

    /* Of the capture thread while several captures ran, and errors of no capture. */
    const Events& others() const { return others_; }

    /* How many messages there were. */
    std::uint64_t messages() const { return messages_; }

    /* Whether frames or faults could not be told apart by capture. */
    bool isAmbiguous() const { return isAmbiguous_; }

  private:
    bool addCall(const TraceMessage& message);
    bool addThreadEvent(const TraceMessage& message);
    void addStep(const TraceMessage& message);
    void addError(const TraceMessage& message);
    Events& running();
    void append(Events& events, const TraceMessage& message, TraceEvent::Kind kind,
                const std::string& name, const std::string& detail = "");
    void appendFrame(Events& events, const TraceMessage& message);
    void noteMonitor(const std::string& text);
    std::string monitorText(unsigned int index) const;
    std::optional<double> timeOf(const TraceMessage& message);

    std::map<unsigned int, Events> captures_;
    Events others_;
    std::set<unsigned int> running_;
    std::set<unsigned int> awaitingFrame_;  // started, and no frame came yet
    std::optional<unsigned int> starting_;
    std::optional<unsigned int> stopped_;           // the last one
    std::map<unsigned int, std::string> monitors_;  // "screen, 1280x720"
    std::optional<double> begin_;
    double newest_ = 0.0;
    double days_ = 0.0;  // seconds to add to times without a date
    std::uint64_t messages_ = 0;
    bool isAmbiguous_ = false;
};

#endif
