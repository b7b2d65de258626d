#include "scaler_recorder.h"

#include <mutex>

#include "journal.h"
#include "kxcommon64.h"
#include "next_definition.h"

namespace {

struct Record {
    std::mutex mutex;
    std::vector<std::string> calls;

    static Record& instance() {
        static Record& record = *new Record;
        return record;
    }
};

template <typename... Sizes>
void record(const char* function, Sizes... sizes) {
    std::string list;
    ((list += (list.empty() ? "" : ", ") + std::to_string(sizes)), ...);
    const std::string call = std::string(function) + "(" + list + ")";
    Journal::note(call);
    const std::lock_guard<std::mutex> lock(Record::instance().mutex);
    Record::instance().calls.push_back(call);
}

}  // namespace

namespace scaler_recorder {

void forget() {
    const std::lock_guard<std::mutex> lock(Record::instance().mutex);
    Record::instance().calls.clear();
}

std::vector<std::string> calls() {
    const std::lock_guard<std::mutex> lock(Record::instance().mutex);
    return Record::instance().calls;
}

}  // namespace scaler_recorder

void MacroMemcpy(void* dst, unsigned long dstSize, const void* src, unsigned long count) {
    static const auto next = nextDefinition<decltype(&MacroMemcpy)>("MacroMemcpy");
    record("MacroMemcpy", dstSize, count);
    next(dst, dstSize, src, count);
}

void BilinearInterpolation(const unsigned char* src, int srcWidth, int srcHeight,
                           unsigned char* dst, int dstWidth, int dstHeight, int bytesPerPixel) {
    static const auto next =
        nextDefinition<decltype(&BilinearInterpolation)>("BilinearInterpolation");
    record("BilinearInterpolation", srcWidth, srcHeight, dstWidth, dstHeight, bytesPerPixel);
    next(src, srcWidth, srcHeight, dst, dstWidth, dstHeight, bytesPerPixel);
}

void RgbDownsampling(unsigned int width, unsigned int height, int pitch, unsigned char* src,
                     unsigned char* dst) {
    static const auto next = nextDefinition<decltype(&RgbDownsampling)>("RgbDownsampling");
    record("RgbDownsampling", width, height, pitch);
    next(width, height, pitch, src, dst);
}
