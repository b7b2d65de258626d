#include "frame_table.h"

#include <cstring>
#include <string_view>

extern "C" void __register_frame(void* table);

namespace macho {
namespace {

constexpr unsigned kBitsPerByte = 7;
constexpr uint8_t kMoreFollows = 0x80;
constexpr uint8_t kLowBits = 0x7f;
constexpr uint8_t kPlainAddress = 0x00;
constexpr uint8_t kVersion = 1;
constexpr size_t kRecordAlignment = 8;

void append32(std::vector<uint8_t>& bytes, uint32_t value) {
    uint8_t raw[sizeof(value)];
    std::memcpy(raw, &value, sizeof(value));
    bytes.insert(bytes.end(), raw, raw + sizeof(raw));
}

void append64(std::vector<uint8_t>& bytes, uint64_t value) {
    uint8_t raw[sizeof(value)];
    std::memcpy(raw, &value, sizeof(value));
    bytes.insert(bytes.end(), raw, raw + sizeof(raw));
}

// The letters say what the data behind them and in each function's record hold: a personality (P),
// language data (L), the encoding of addresses (R).
std::vector<uint8_t> bodyOf(const FrameRules& rules) {
    const bool hasPersonality = rules.personality != 0;
    const std::string_view letters = hasPersonality ? "zPLR" : "zR";
    std::vector<uint8_t> body;
    body.push_back(kVersion);
    for (const char letter : letters) {
        body.push_back(static_cast<uint8_t>(letter));
    }
    body.push_back(0);
    appendUnsigned(body, rules.codeAlignment);
    appendSigned(body, rules.dataAlignment);
    appendUnsigned(body, rules.returnRegister);
    appendUnsigned(body, hasPersonality ? 3 + sizeof(uint64_t) : 1);
    if (hasPersonality) {
        body.push_back(kPlainAddress);
        append64(body, rules.personality);
        body.push_back(kPlainAddress);
    }
    body.push_back(kPlainAddress);
    body.insert(body.end(), rules.instructions.begin(), rules.instructions.end());
    return body;
}

}  // namespace

void appendUnsigned(std::vector<uint8_t>& bytes, uint64_t value) {
    for (; value > kLowBits; value >>= kBitsPerByte) {
        bytes.push_back(static_cast<uint8_t>(value & kLowBits) | kMoreFollows);
    }
    bytes.push_back(static_cast<uint8_t>(value));
}

void appendSigned(std::vector<uint8_t>& bytes, int64_t value) {
    constexpr int64_t kHalf = 0x40;
    for (; value < -kHalf || value >= kHalf; value >>= kBitsPerByte) {
        bytes.push_back(static_cast<uint8_t>(value & kLowBits) | kMoreFollows);
    }
    bytes.push_back(static_cast<uint8_t>(value & kLowBits));
}

// A record's length does not count itself; zeros at the end are instructions that do nothing.
void FrameTable::append(uint32_t link, const std::vector<uint8_t>& body) {
    const size_t used = 2 * sizeof(uint32_t) + body.size();
    const size_t size = (used + kRecordAlignment - 1) / kRecordAlignment * kRecordAlignment;
    append32(bytes_, static_cast<uint32_t>(size - sizeof(uint32_t)));
    append32(bytes_, link);
    bytes_.insert(bytes_.end(), body.begin(), body.end());
    bytes_.resize(bytes_.size() + size - used);
}

uint64_t FrameTable::placeOf(const FrameRules& rules) {
    const std::vector<uint8_t> body = bodyOf(rules);
    const auto [entry, isNew] =
        rulesPlaces_.try_emplace(std::string(body.begin(), body.end()), bytes_.size());
    if (isNew) {
        append(0, body);
    }
    return entry->second;
}

// A function's record links back to its rules, counting from the link itself.
void FrameTable::add(const FrameRules& rules, const FunctionFrame& function) {
    const uint64_t rulesPlace = placeOf(rules);
    std::vector<uint8_t> body;
    append64(body, function.start);
    append64(body, function.size);
    appendUnsigned(body, rules.personality != 0 ? sizeof(uint64_t) : 0);
    if (rules.personality != 0) {
        append64(body, function.languageData);
    }
    body.insert(body.end(), function.instructions.begin(), function.instructions.end());
    append(static_cast<uint32_t>(bytes_.size() + sizeof(uint32_t) - rulesPlace), body);
}

// The unwinder reads on until a record of no length.
void FrameTable::publish() {
    append32(bytes_, 0);
    __register_frame(bytes_.data());
}

}  // namespace macho
