// Stands in front of the trace facility and the text stream: decides the trace level and the source
// positions, and records every message.
#ifndef CONTRACT_TRACE_RECORDER_H
#define CONTRACT_TRACE_RECORDER_H

#include <iosfwd>
#include <string>
#include <thread>
#include <vector>

struct Message {
    int level;
    std::string text;
    int flag = 0;

    bool operator==(const Message&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Message& message);

// The forms in which messages come; text is what follows the tag.
Message error(const std::string& text);
Message warning(const std::string& text);
Message information(const std::string& text);
Message detail(const std::string& text);
Message bufferMessage(int level, const std::string& text);            // "[KXAS] "
Message framePath(int level, const std::string& text, int flag = 0);  // "[KXSS]"
Message eachFrame(const std::string& text);                           // the same, flag 1, level 2
Message step(const std::string& code, const std::string& phrase, const std::string& values);

// A bounded-memory call that failed: its report without the position in front.
Message failedCall(const std::string& call, int result);

// Takes the position "[path;line] " off the report of a failed call, when it has the right form.
Message withoutPosition(const Message& message);

// A text stream of the library, from construction to destruction.
struct StreamUse {
    unsigned int capacity;
    unsigned int growth;
    unsigned int format;  // at destruction
    std::string text;     // at destruction
};

namespace trace_recorder {

void reset();  // level 3, no source positions, nothing recorded
void setLevel(int level);
void setFileLine(bool enabled);
void forget();

// In the order of writing, pointers replaced by "<pointer>"; of all threads, of the calling one, or
// of all others.
std::vector<Message> messages();
std::vector<Message> messagesOfThisThread();
std::vector<Message> messagesOfOtherThreads();

// Those of one level only.
std::vector<Message> messagesOfLevel(int level);
std::vector<std::string> rawTexts();

// Waits until count messages with this text, as messages() has it, were written and told; false
// after 10 s.
bool await(const std::string& text, size_t count = 1);
size_t count(const std::string& text);

std::vector<StreamUse> streams();

// How often the library asked for the level.
size_t levelQueries();

// Where a message was not told to vq_trace_input_error_msg at once, with level and text alike.
std::vector<std::string> faults();

}  // namespace trace_recorder

#endif
