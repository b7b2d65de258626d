// The trace statement, the bounded-memory check and the step log, in the one form in which every
// source of the library writes them.
//
// A source that traces names itself once: constexpr char kSourcePath[] = "..."; in its anonymous
// namespace. The path is a fixed text, so that messages do not depend on where the tree was built.
#ifndef QOR_CONF_TRACE_H
#define QOR_CONF_TRACE_H

#include <string>
#include <type_traits>

#include "StepLog.h"
#include "vqutilc.h"

namespace trace {

constexpr int kError = 0;
constexpr int kWarning = 1;
constexpr int kInformation = 2;
constexpr int kDetail = 3;

struct SourcePosition {
    const char* path;
    int line;
};

constexpr unsigned int kTextCapacity = 1024;
constexpr unsigned int kTextGrowth = 32;
constexpr unsigned int kTextFormat = 4;

template <typename Piece>
void append(VQ_Text_Stream& text, const Piece& piece) {
    if constexpr (std::is_same_v<Piece, bool>) {
        text << (piece ? "true" : "false");
    } else if constexpr (std::is_enum_v<Piece>) {
        text << static_cast<int>(piece);
    } else if constexpr (std::is_same_v<Piece, std::string>) {
        text << piece.c_str();
    } else {
        text << piece;
    }
}

// Writes one message; level was found to be wanted.
template <typename... Pieces>
void write(int level, int flag, SourcePosition position, const char* tag, const Pieces&... pieces) {
    VQ_Text_Stream text(kTextCapacity, kTextGrowth);
    text.m_nFormat = kTextFormat;
    if (vq_get_trace_file_line() != 0) {
        text << "[" << position.path << ": " << position.line << "] ";
    }
    text << tag;
    (append(text, pieces), ...);
    vq_trace_write(level, text.m_pText, flag);
    vq_trace_input_error_msg(level, text.m_pText);
}

// Reports a bounded memory call that failed; the caller goes on as if it had succeeded.
void reportFailedCall(SourcePosition position, const char* call, int result);

}  // namespace trace

#define TRACE_MESSAGE(level, flag, tag, ...)                                              \
    do {                                                                                  \
        if (vq_trace_level() >= (level)) {                                                \
            ::trace::write((level), (flag), {kSourcePath, __LINE__}, (tag), __VA_ARGS__); \
        }                                                                                 \
    } while (false)

#define TRACE_ERROR(...) TRACE_MESSAGE(::trace::kError, 0, "[KXSC] ", __VA_ARGS__)
#define TRACE_WARNING(...) TRACE_MESSAGE(::trace::kWarning, 0, "[KXSC] ", __VA_ARGS__)
#define TRACE_INFO(...) TRACE_MESSAGE(::trace::kInformation, 0, "[KXSC] ", __VA_ARGS__)
#define TRACE_DETAIL(...) TRACE_MESSAGE(::trace::kDetail, 0, "[KXSC] ", __VA_ARGS__)

// Messages of the frame path: their tag brings no blank.
#define TRACE_FRAME_PATH(level, ...) TRACE_MESSAGE((level), 0, "[KXSS]", __VA_ARGS__)
// The same for messages that repeat with every frame.
#define TRACE_EACH_FRAME(level, ...) TRACE_MESSAGE((level), 1, "[KXSS]", __VA_ARGS__)
// Messages about the frame buffers.
#define TRACE_BUFFER(level, ...) TRACE_MESSAGE((level), 0, "[KXAS] ", __VA_ARGS__)

// One line of the step log: code is a literal such as "CPST", the rest the values in brackets.
#define TRACE_STEP(code, phrase, ...)                                  \
    TRACE_MESSAGE(::trace::kInformation, 0, "[KXSC][" code "][STEP][", \
                  szScCapLog[static_cast<int>(phrase)], "]", __VA_ARGS__)

// Makes a bounded memory call and reports its failure with the call's own text.
#define CHECKED_CALL(call)                                                         \
    do {                                                                           \
        if (const int callResult = (call); callResult != 0) {                      \
            ::trace::reportFailedCall({kSourcePath, __LINE__}, #call, callResult); \
        }                                                                          \
    } while (false)

#endif
