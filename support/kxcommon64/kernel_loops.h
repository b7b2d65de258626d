// The loops of the kernels, for any instruction set. Included by the kernel files alone.
//
// A kernel file hands in a class `Set` with the types Bytes and Samples, a register of either, and
//   kBlock            target bytes made at a time, twice the Samples of a register
//   kStripBlocks      blocks that are filtered side by side
//   kStreams          whether it has streamed stores, and strips that are whole cache lines
//   load              bytes from memory
//   samplesOf         a number in every place of a register of samples
//   pairsOf           two bytes, the first in the lower half of a number, again and again
//   interleaveLow, interleaveHigh
//                     pairs out of two registers of bytes
//   weigh             pairs of bytes to samples: the weighted sum of each, the fine part optional
//   mix               near + (near - far) * factor / 2^16, rounded down
//   store             two registers of samples, rounded, to kBlock target bytes
//   storeBlend        the same for samples of interleaved bytes
//   stream            as store, around the caches; only if kStreams
//   halve, mean       one block of halveRows and of meanRows
// and for each way to read a row a class `Windows` with its shape and
//   placesOf          makes places in a register out of those in windows
//   readPairs         gathers the pairs at these places
#ifndef QOR_CONF_KXCOMMON64_KERNEL_LOOPS_H
#define QOR_CONF_KXCOMMON64_KERNEL_LOOPS_H

#include "kernels.h"

namespace qor::scaling {

// The filter of as many columns as fit in a register of samples.
template <typename Set, typename Windows>
struct ColumnFilter {
    static constexpr size_t kWindows = Windows::kShape.windows / 2;
    using Bytes = typename Set::Bytes;

    uint32_t windows[kWindows];
    Bytes places;
    Bytes coarse;
    Bytes fine;

    template <bool HasFine>
    static ColumnFilter load(const ColumnTables& tables, size_t index) {
        const unsigned char* const table = tables.filters + 3 * Set::kBlock * index;
        ColumnFilter filter = {};
        for (size_t i = 0; i < kWindows; ++i) {
            filter.windows[i] = tables.windows[kWindows * index + i];
        }
        filter.places = Windows::placesOf(Set::load(table));
        filter.coarse = Set::load(table + Set::kBlock);
        if constexpr (HasFine) {
            filter.fine = Set::load(table + 2 * Set::kBlock);
        }
        return filter;
    }

    template <bool HasFine>
    typename Set::Samples of(const unsigned char* row) const {
        return Set::template weigh<HasFine>(Windows::readPairs(row, windows, places), coarse, fine);
    }
};

// Some neighbouring blocks of a band, from the first of its rows to the last.
template <typename Set, typename Windows, bool HasFine, size_t Blocks>
class Strip {
  public:
    Strip(const ColumnTables& tables, size_t block) {
        for (size_t i = 0; i < kRegisters; ++i) {
            filters_[i] = Filter::template load<HasFine>(tables, 2 * block + i);
        }
        for (size_t i = 0; i < Blocks; ++i) {
            targets_[i] = tables.targets[block + i];
        }
    }

    void scale(const RowBand& band) const {
        if constexpr (Set::kStreams && Blocks * Set::kBlock % kLineBytes == 0) {
            if (band.stores == Stores::streamed) {
                return scaleRows<Stores::streamed>(band);
            }
        }
        scaleRows<Stores::cached>(band);
    }

  private:
    static constexpr size_t kRegisters = 2 * Blocks;
    using Filter = ColumnFilter<Set, Windows>;
    struct Row {
        typename Set::Samples samples[kRegisters];
    };

    template <Stores How>
    void scaleRows(const RowBand& band) const {
        Row upper = {};
        Row lower = {};
        const unsigned char* upperSource = nullptr;
        const unsigned char* lowerSource = nullptr;
        unsigned char* target = band.target;
        const BandRow* const end = band.rows + band.rowCount;
        for (const BandRow* row = band.rows; row != end; ++row, target += band.targetPitch) {
            if (row->upper != upperSource) {
                upper = row->upper == lowerSource ? lower : filtered(row->upper);
                upperSource = row->upper;
            }
            if (row->weight == 0) {
                store<How>(target, upper);
                continue;
            }
            if (row->lower != lowerSource) {
                lower = filtered(row->lower);
                lowerSource = row->lower;
            }
            // From the nearer row, as a signed factor of 16 bits holds one half at most.
            store<How>(target, row->weight <= kWeightOne / 2
                                   ? mixed(upper, lower, row->weight)
                                   : mixed(lower, upper, kWeightOne - row->weight));
        }
    }

    Row filtered(const unsigned char* source) const {
        Row row;
        for (size_t i = 0; i < kRegisters; ++i) {
            row.samples[i] = filters_[i].template of<HasFine>(source);
        }
        return row;
    }

    static Row mixed(const Row& near, const Row& far, int32_t weight) {
        const auto factor = Set::samplesOf(-weight * (1 << (16 - kWeightBits)));
        Row row;
        for (size_t i = 0; i < kRegisters; ++i) {
            row.samples[i] = Set::mix(near.samples[i], far.samples[i], factor);
        }
        return row;
    }

    template <Stores How>
    void store(unsigned char* target, const Row& row) const {
        for (size_t i = 0; i < Blocks; ++i) {
            const auto& low = row.samples[2 * i];
            const auto& high = row.samples[2 * i + 1];
            if constexpr (How == Stores::streamed) {
                Set::stream(target + targets_[i], low, high);
            } else {
                Set::store(target + targets_[i], low, high);
            }
        }
    }

    Filter filters_[kRegisters];
    uint32_t targets_[Blocks];
};

// Strips as wide as the registers hold, which spreads the cost of the loop over rows.
template <typename Set, typename Windows, bool HasFine>
void scaleBand(const RowBand& bandToScale, const ColumnTables& columns) {
    // Copies, which stores to the target cannot change: they stay in registers.
    const RowBand band = bandToScale;
    const ColumnTables tables = columns;
    size_t block = 0;
    for (; block + Set::kStripBlocks <= tables.blocks; block += Set::kStripBlocks) {
        Strip<Set, Windows, HasFine, Set::kStripBlocks>(tables, block).scale(band);
    }
    for (; block < tables.blocks; ++block) {
        Strip<Set, Windows, HasFine, 1>(tables, block).scale(band);
    }
}

// The last block ends where the row does, and may make some bytes again.
template <typename Set, typename MakeBlock>
void forEachBlock(size_t bytes, MakeBlock makeBlock) {
    for (size_t at = 0; at + Set::kBlock < bytes; at += Set::kBlock) {
        makeBlock(at);
    }
    makeBlock(bytes - Set::kBlock);
}

template <typename Set, bool HasFine>
void blendBlock(const BandRow& row, size_t at, unsigned char* target) {
    const auto upper = Set::load(row.upper + at);
    const auto lower = Set::load(row.lower + at);
    const auto coarse = Set::pairsOf(row.coarsePair);
    const auto fine = Set::pairsOf(row.finePair);
    Set::storeBlend(target,
                    Set::template weigh<HasFine>(Set::interleaveLow(upper, lower), coarse, fine),
                    Set::template weigh<HasFine>(Set::interleaveHigh(upper, lower), coarse, fine));
}

template <typename Set>
void blendRows(const RowBand& bandToBlend, size_t bytes) {
    const RowBand band = bandToBlend;
    forEachBlock<Set>(bytes, [&](size_t at) {
        unsigned char* target = band.target + at;
        const BandRow* const end = band.rows + band.rowCount;
        for (const BandRow* row = band.rows; row != end; ++row, target += band.targetPitch) {
            if (row->finePair == 0) {
                blendBlock<Set, false>(*row, at, target);
            } else {
                blendBlock<Set, true>(*row, at, target);
            }
        }
    });
}

// A block of each row in turn: memory is faster on many streams than on two.
template <typename Set, typename MakeBlock>
void forEachMeanBlock(const MeanBand& band, size_t bytes, MakeBlock makeBlock) {
    const MeanBand local = band;
    forEachBlock<Set>(bytes, [&](size_t at) {
        const unsigned char* source = local.source + at / 4 * local.columnStep;
        unsigned char* target = local.target + at;
        for (size_t row = 0; row < local.rowCount; ++row) {
            makeBlock(source, source + local.sourcePitch, target);
            source += local.rowStep;
            target += local.targetPitch;
        }
    });
}

template <typename Set>
void halveRows(const MeanBand& band, size_t bytes) {
    forEachMeanBlock<Set>(band, bytes,
                          [](const unsigned char* upper, const unsigned char* lower,
                             unsigned char* target) { Set::halve(upper, lower, target); });
}

template <typename Set>
void meanRows(const MeanBand& band, size_t bytes) {
    forEachMeanBlock<Set>(
        band, bytes,
        [step = band.columnStep](const unsigned char* upper, const unsigned char* lower,
                                 unsigned char* target) { Set::mean(upper, lower, step, target); });
}

template <typename Set, typename Windows>
constexpr BandKernel bandKernel() {
    return {Windows::kShape, scaleBand<Set, Windows, false>, scaleBand<Set, Windows, true>};
}

}  // namespace qor::scaling

#endif
