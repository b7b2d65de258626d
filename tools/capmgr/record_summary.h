/* What a recording has come to, as told at its end. */
#ifndef CAPMGR_RECORD_SUMMARY_H
#define CAPMGR_RECORD_SUMMARY_H

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "CaptureManager.h"
#include "recording_format.h"

struct RecordSummary {
    std::string file;
    RecordingFormat format;
    CAP_SIZE size{};            // of the pictures, in pixels
    double seconds = 0.0;       // above 0
    std::uint64_t frames = 0;   // in the file
    std::uint64_t dropped = 0;  // read and not encoded
    std::uint64_t missed = 0;   // captured and not read
    std::int64_t bytes = 0;
};

/* For people, with an end to every line. */
std::string recordSummary(const RecordSummary& summary);

/* For programs. */
nlohmann::ordered_json recordSummaryJson(const RecordSummary& summary);

/* "512 bytes", "1.5 MB" */
std::string bytesText(std::int64_t bytes);

#endif
