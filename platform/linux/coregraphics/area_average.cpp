#include "coregraphics/area_average.h"

#include <algorithm>
#include <vector>

namespace qor::coregraphics {
namespace {

constexpr std::size_t kBytesPerPixel = 4;
constexpr std::size_t kChannels = 3;

/* What one source pixel gives to one target pixel along one dimension. */
struct Share {
    std::size_t source;
    std::size_t target;
    std::uint16_t weight;  // of a target pixel's sum, which is the source's length
};

/* Both lengths are divided into source * target units, so that every share is a whole number. */
std::vector<Share> sharesOf(std::size_t source, std::size_t target) {
    std::vector<Share> shares;
    shares.reserve(source + target);
    std::size_t from = 0;
    for (std::size_t i = 0, j = 0; i < source;) {
        const std::size_t sourceEnd = (i + 1) * target;
        const std::size_t targetEnd = (j + 1) * source;
        const std::size_t to = std::min(sourceEnd, targetEnd);
        shares.push_back({i, j, static_cast<std::uint16_t>(to - from)});
        i += to == sourceEnd ? 1 : 0;
        j += to == targetEnd ? 1 : 0;
        from = to;
    }
    return shares;
}

/* weight is a share's, so a product has no more than 23 bits, and no more have the sums of a
 * column, whose weights add up to the picture's height. */
void addDown(const std::uint8_t* row, std::uint16_t weight, std::vector<std::uint32_t>& columns) {
    for (std::size_t i = 0; i < columns.size(); ++i)
        columns[i] += static_cast<std::uint32_t>(row[i] * weight);
}

void addAcross(const std::vector<std::uint32_t>& columns, const std::vector<Share>& shares,
               std::vector<std::uint64_t>& sums) {
    std::ranges::fill(sums, std::uint64_t{0});
    for (const Share& share : shares) {
        const std::uint32_t* const column = columns.data() + share.source * kBytesPerPixel;
        std::uint64_t* const sum = sums.data() + share.target * kChannels;
        for (std::size_t channel = 0; channel < kChannels; ++channel)
            // cppcheck-suppress constStatement ; takes the type's braces for a statement
            sum[channel] += std::uint64_t{share.weight} * column[channel];
    }
}

}  // namespace

void averageArea(const Picture& picture, Size target, std::size_t firstRow, std::size_t endRow,
                 const TakeRow& takeRow) {
    const std::vector<Share> across = sharesOf(picture.size.width, target.width);
    const std::vector<Share> down = sharesOf(picture.size.height, target.height);
    const std::uint64_t whole = std::uint64_t{picture.size.width} * picture.size.height;
    std::vector<std::uint32_t> columns(picture.size.width * kBytesPerPixel);
    std::vector<std::uint64_t> sums(target.width * kChannels);
    std::vector<std::uint8_t> means(sums.size());

    // Down first: that is the same simple step for all bytes of a row, several of them at once, and
    // leaves as few rows as the target has to be summed across.
    for (auto share = down.begin(); share != down.end(); ++share) {
        if (share->target < firstRow)
            continue;
        if (share->target >= endRow)
            return;
        addDown(picture.pixels + share->source * picture.bytesPerRow, share->weight, columns);
        const auto next = share + 1;
        if (next != down.end() && next->target == share->target)
            continue;
        addAcross(columns, across, sums);
        std::ranges::fill(columns, 0U);
        std::ranges::transform(sums, means.begin(), [whole](std::uint64_t sum) {
            // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): no dimension of a picture is 0
            return static_cast<std::uint8_t>((sum + whole / 2) / whole);
        });
        takeRow(share->target, means);
    }
}

}  // namespace qor::coregraphics
