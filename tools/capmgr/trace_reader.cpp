#include "trace_reader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <regex>
#include <system_error>

#include "failure.h"

namespace {

// What a line may hold in front of a message and of it; more than the library ever writes.
constexpr std::size_t kLongestLine = 8192;
constexpr std::size_t kLongestTime = 96;  // and what stands before it, such as a host's name
constexpr std::size_t kBlock = 65536;
constexpr auto kTickMs = static_cast<int>(kInterruptionTick.count());

constexpr std::array<std::string_view, 3> kTags{"[KXSC]", "[KXSS]", "[KXAS]"};

std::size_t findTag(std::string_view line) {
    std::size_t first = std::string_view::npos;
    for (const std::string_view tag : kTags) {
        first = std::min(first, line.find(tag));
    }
    return first;
}

int number(const std::csub_match& part) {
    return part.matched ? std::stoi(part.str()) : 0;
}

/* Days of a date that is matched at `first`, 0 where there is none. */
double daysOf(const std::cmatch& match, std::size_t first) {
    if (!match[first].matched) {
        return 0.0;
    }
    const std::chrono::year_month_day date{
        std::chrono::year(number(match[first])),
        std::chrono::month(static_cast<unsigned int>(number(match[first + 1]))),
        std::chrono::day(static_cast<unsigned int>(number(match[first + 2])))};
    return static_cast<double>(std::chrono::sys_days(date).time_since_epoch().count());
}

/*
 * The time in front of a message: a day's time, with or without its date, anywhere; else a number
 * of seconds at the very beginning.
 */
std::optional<double> timeIn(std::string_view text) {
    static const std::regex kClock(
        R"((?:(\d{4})-(\d\d)-(\d\d)[T ]|\b)(\d\d):(\d\d):(\d\d)(?:[.,](\d{1,9}))?)");
    static const std::regex kSeconds(R"(^\s*\[?\s*(\d{1,12}\.\d{1,9})\]?(?:\s|$))");
    constexpr double kDay = 86400.0;
    std::cmatch match;
    const char* const end = text.data() + text.size();
    if (std::regex_search(text.data(), end, match, kClock)) {
        const double fraction = match[7].matched ? std::stod("0." + match[7].str()) : 0.0;
        return daysOf(match, 1) * kDay + number(match[4]) * 3600.0 + number(match[5]) * 60.0 +
               number(match[6]) + fraction;
    }
    if (std::regex_search(text.data(), end, match, kSeconds)) {
        return std::stod(match[1].str());
    }
    return std::nullopt;
}

}  // namespace

TraceReader::TraceReader(const std::string& path, const Interruption& interruption)
    : path_(path == "-" ? "standard input" : path),
      interruption_(interruption),
      descriptor_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) {
        throw Failure(
            fmt::format("cannot read {}: {}", path_, std::generic_category().message(errno)));
    }
}

TraceReader::~TraceReader() {
    if (descriptor_ != STDIN_FILENO) {
        close(descriptor_);
    }
}

std::optional<TraceMessage> TraceReader::read() {
    std::string line;
    while (readLine(line)) {
        line_ += 1;
        const std::size_t tag = findTag(line);
        if (tag == std::string::npos) {
            continue;
        }
        const std::string_view before =
            std::string_view(line).substr(0, std::min(tag, kLongestTime));
        return TraceMessage{line_, timeIn(before), line.substr(tag + kTags[0].size())};
    }
    return std::nullopt;
}

// A line is as much of it as can matter; the rest is dropped.
bool TraceReader::readLine(std::string& line) {
    line.clear();
    bool any = false;
    while (position_ < buffer_.size() || fill()) {
        any = true;
        const std::size_t end = std::min(buffer_.find('\n', position_), buffer_.size());
        const std::size_t room = kLongestLine - line.size();
        line.append(buffer_, position_, std::min(room, end - position_));
        position_ = end + 1;
        if (end < buffer_.size()) {
            return true;
        }
    }
    return any;
}

bool TraceReader::fill() {
    position_ = 0;
    buffer_.resize(kBlock);
    pollfd input{descriptor_, POLLIN, 0};
    while (!interruption_.requested()) {
        if (poll(&input, 1, kTickMs) == 0) {
            continue;
        }
        const ssize_t count = ::read(descriptor_, buffer_.data(), buffer_.size());
        if (count < 0) {
            throw Failure(
                fmt::format("cannot read {}: {}", path_, std::generic_category().message(errno)));
        }
        buffer_.resize(static_cast<std::size_t>(count));
        return count > 0;
    }
    buffer_.clear();
    return false;
}
