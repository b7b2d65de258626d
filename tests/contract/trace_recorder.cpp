#include "trace_recorder.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <ostream>
#include <string_view>

#include "journal.h"
#include "next_definition.h"
#include "vqutilc.h"

namespace {

constexpr auto kBound = std::chrono::seconds(10);

struct Entry {
    Message message;
    std::thread::id thread;
    bool repeated = false;  // told to vq_trace_input_error_msg as well
};

// Never destroyed: messages may come while the program ends.
struct Recorder {
    std::mutex mutex;
    std::condition_variable changed;
    int level = 3;
    int fileLine = 0;
    size_t levelQueries = 0;
    std::vector<Entry> entries;
    std::vector<std::string> faults;
    std::map<const VQ_Text_Stream*, StreamUse> openStreams;
    std::vector<StreamUse> streams;

    static Recorder& instance() {
        static Recorder& recorder = *new Recorder;
        return recorder;
    }

    Entry* lastOf(std::thread::id thread) {
        const auto last =
            std::find_if(entries.rbegin(), entries.rend(),
                         [thread](const Entry& entry) { return entry.thread == thread; });
        return last == entries.rend() ? nullptr : &*last;
    }
};

using Lock = std::lock_guard<std::mutex>;

Recorder& recorder() {
    return Recorder::instance();
}

std::string withoutPointers(const std::string& text) {
    std::string replaced;
    size_t from = 0;
    for (size_t start = text.find("0x"); start != std::string::npos;
         start = text.find("0x", from)) {
        replaced += text.substr(from, start - from) + "<pointer>";
        from = std::min(text.find_first_not_of("0123456789abcdef", start + 2), text.size());
    }
    return replaced + text.substr(from);
}

template <typename Condition>
std::vector<Message> messagesWhere(Condition wanted) {
    const Lock lock(recorder().mutex);
    std::vector<Message> found;
    for (const Entry& entry : recorder().entries) {
        if (wanted(entry)) {
            found.push_back(
                {entry.message.level, withoutPointers(entry.message.text), entry.message.flag});
        }
    }
    return found;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Message& message) {
    return out << "\n  level " << message.level << " flag " << message.flag << " \"" << message.text
               << '"';
}

Message error(const std::string& text) {
    return {0, "[KXSC] " + text};
}

Message warning(const std::string& text) {
    return {1, "[KXSC] " + text};
}

Message information(const std::string& text) {
    return {2, "[KXSC] " + text};
}

Message detail(const std::string& text) {
    return {3, "[KXSC] " + text};
}

Message bufferMessage(int level, const std::string& text) {
    return {level, "[KXAS] " + text};
}

Message framePath(int level, const std::string& text, int flag) {
    return {level, "[KXSS]" + text, flag};
}

Message eachFrame(const std::string& text) {
    return framePath(2, text, 1);
}

Message step(const std::string& code, const std::string& phrase, const std::string& values) {
    return {2, "[KXSC][" + code + "][STEP][" + phrase + "]" + values};
}

Message failedCall(const std::string& call, int result) {
    return {1, call + " return=" + std::to_string(result)};
}

Message withoutPosition(const Message& message) {
    constexpr std::string_view kBegin = "[src/component/captureManager/";
    const std::string& text = message.text;
    const size_t line = text.find(';') + 1;
    const size_t end = text.find_first_not_of("0123456789", line);
    if (text.rfind(kBegin, 0) != 0 || line == 0 || end == line || end == std::string::npos ||
        text.compare(end, 2, "] ") != 0) {
        return message;
    }
    return {message.level, text.substr(end + 2), message.flag};
}

namespace trace_recorder {

void reset() {
    setLevel(3);
    setFileLine(false);
    forget();
}

void setLevel(int level) {
    const Lock lock(recorder().mutex);
    recorder().level = level;
}

void setFileLine(bool enabled) {
    const Lock lock(recorder().mutex);
    recorder().fileLine = enabled ? 1 : 0;
}

void forget() {
    const Lock lock(recorder().mutex);
    recorder().entries.clear();
    recorder().faults.clear();
    recorder().streams.clear();
    recorder().levelQueries = 0;
}

std::vector<Message> messages() {
    return messagesWhere([](const Entry&) { return true; });
}

std::vector<Message> messagesOfThisThread() {
    return messagesWhere(
        [](const Entry& entry) { return entry.thread == std::this_thread::get_id(); });
}

std::vector<Message> messagesOfOtherThreads() {
    return messagesWhere(
        [](const Entry& entry) { return entry.thread != std::this_thread::get_id(); });
}

std::vector<Message> messagesOfLevel(int level) {
    return messagesWhere([level](const Entry& entry) { return entry.message.level == level; });
}

std::vector<std::string> rawTexts() {
    const Lock lock(recorder().mutex);
    std::vector<std::string> texts;
    for (const Entry& entry : recorder().entries) {
        texts.push_back(entry.message.text);
    }
    return texts;
}

bool await(const std::string& text, size_t wanted) {
    std::unique_lock<std::mutex> lock(recorder().mutex);
    return recorder().changed.wait_for(lock, kBound, [&] {
        const auto& entries = recorder().entries;
        return static_cast<size_t>(
                   std::count_if(entries.begin(), entries.end(), [&](const Entry& entry) {
                       return entry.repeated && withoutPointers(entry.message.text) == text;
                   })) >= wanted;
    });
}

size_t count(const std::string& text) {
    return messagesWhere(
               [&](const Entry& entry) { return withoutPointers(entry.message.text) == text; })
        .size();
}

std::vector<StreamUse> streams() {
    const Lock lock(recorder().mutex);
    return recorder().streams;
}

size_t levelQueries() {
    const Lock lock(recorder().mutex);
    return recorder().levelQueries;
}

std::vector<std::string> faults() {
    const Lock lock(recorder().mutex);
    std::vector<std::string> faults = recorder().faults;
    for (const Entry& entry : recorder().entries) {
        if (!entry.repeated) {
            faults.push_back("not told to vq_trace_input_error_msg: " + entry.message.text);
        }
    }
    return faults;
}

}  // namespace trace_recorder

// In front of the trace facility.

int vq_trace_level() {
    const Lock lock(recorder().mutex);
    ++recorder().levelQueries;
    return recorder().level;
}

int vq_get_trace_file_line() {
    const Lock lock(recorder().mutex);
    return recorder().fileLine;
}

void vq_trace_write(int level, const char* text, int flag) {
    Journal::noteMessage(withoutPointers(text));
    const Lock lock(recorder().mutex);
    recorder().entries.push_back({{level, text, flag}, std::this_thread::get_id()});
}

void vq_trace_input_error_msg(int level, const char* text) {
    const Lock lock(recorder().mutex);
    Entry* const entry = recorder().lastOf(std::this_thread::get_id());
    if (entry == nullptr || entry->repeated || entry->message.level != level ||
        entry->message.text != text) {
        recorder().faults.push_back("told to vq_trace_input_error_msg alone: " + std::string(text));
        return;
    }
    entry->repeated = true;
    recorder().changed.notify_all();
}

// In front of the text stream's construction and destruction; the rest is the library's.

VQ_Text_Stream::VQ_Text_Stream(unsigned int capacity, unsigned int growth)
    : m_pText(nullptr), m_nCapacity(0), m_nGrowth(0) {
    using Constructor = void (*)(VQ_Text_Stream*, unsigned int, unsigned int);
    static const auto construct = nextDefinition<Constructor>("_ZN14VQ_Text_StreamC1Ejj");
    construct(this, capacity, growth);
    const Lock lock(recorder().mutex);
    recorder().openStreams[this] = {capacity, growth, 0, ""};
}

VQ_Text_Stream::~VQ_Text_Stream() {
    using Destructor = void (*)(VQ_Text_Stream*);
    static const auto destroy = nextDefinition<Destructor>("_ZN14VQ_Text_StreamD1Ev");
    {
        const Lock lock(recorder().mutex);
        StreamUse use = recorder().openStreams[this];
        use.format = m_nFormat;
        use.text = m_pText;
        recorder().streams.push_back(use);
        recorder().openStreams.erase(this);
    }
    destroy(this);
}
