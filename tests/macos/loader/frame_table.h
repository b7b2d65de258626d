// Builds the table by which this system's unwinder finds its way through code that it did not load
// itself: records in the DWARF call frame format, with plain addresses, so that the table may lie
// anywhere. The table must stay where it is as long as the code may run.
#ifndef FRAME_TABLE_H
#define FRAME_TABLE_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace macho {

// What functions have in common.
struct FrameRules {
    uint64_t codeAlignment = 1;
    int64_t dataAlignment = -8;
    uint64_t returnRegister = 16;
    uint64_t personality = 0;  // address of the function that knows the language; 0: none
    std::vector<uint8_t> instructions;
};

struct FunctionFrame {
    uint64_t start;
    uint64_t size;
    uint64_t languageData;  // address of what the personality reads; 0: none
    std::vector<uint8_t> instructions;
};

class FrameTable {
  public:
    void add(const FrameRules& rules, const FunctionFrame& function);
    [[nodiscard]] bool empty() const { return bytes_.empty(); }

    // Makes the table known to the unwinder, for good; it does not grow afterwards.
    void publish();

  private:
    uint64_t placeOf(const FrameRules& rules);
    void append(uint32_t link, const std::vector<uint8_t>& body);

    std::vector<uint8_t> bytes_;
    std::map<std::string, uint64_t> rulesPlaces_;  // by the rules' own bytes
};

// Numbers as the format writes them.
void appendUnsigned(std::vector<uint8_t>& bytes, uint64_t value);
void appendSigned(std::vector<uint8_t>& bytes, int64_t value);

}  // namespace macho

#endif
