/*
 * Searches for display descriptions that the parser of product names goes wrong with.
 *
 * Each input is parsed twice: as it is, and as a block with the beginning and the sum that a real
 * one has, as hardly any input would come past those by itself.
 */
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <vector>

#include "coregraphics/edid.h"
#include "product_name_rule.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

void parse(const Bytes& edid) {
    const auto name = qor::coregraphics::productName(edid);
    if (name && !isProductName(*name))
        std::abort();
}

void makeBlock(Bytes& edid) {
    constexpr std::size_t kBlockSize = 128;
    edid.resize((edid.size() / kBlockSize + 1) * kBlockSize);
    edid.front() = 0;
    std::fill_n(edid.begin() + 1, 6, std::uint8_t{0xff});
    edid[7] = 0;
    edid[kBlockSize - 1] = 0;
    const unsigned sum = std::accumulate(edid.begin(), edid.begin() + kBlockSize, 0U);
    edid[kBlockSize - 1] = static_cast<std::uint8_t>(0U - sum);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes edid(data, data + size);
    parse(edid);
    makeBlock(edid);
    parse(edid);
    return 0;
}
