// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/NameBlock.h"
#include "index/names/Needle.h"
#include "index/names/Ranking.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace vellumhound::index {

/// Whether a record of the scanned block is wanted. May raise the class of its match.
using RecordFilter = std::function<bool(std::uint32_t record, MatchClass &match)>;

/// Takes the places where a scan finds its needle, in ascending order, and makes records, classes
/// and ranks of them.
///
/// With `visitsAll` every record with a hit goes through the filter and is counted here. Without
/// it the scan counts by masks and passes over hits that cannot enter the best list any more; then
/// `count` includes records that the filter refuses, and whoever set the filter subtracts them; the
/// filter raises no class.
///
/// Records are ranked as used by nobody. Used ones are few: whoever knows them offers them to the
/// list and has the filter refuse them here.
class HitSink {
public:
    static constexpr std::uint32_t noRecord = ~std::uint32_t(0);

    HitSink(TopHits &top, const NameBlock &block, std::uint32_t firstRecord, bool visitsAll,
        RecordFilter filter = {});

    /// A hit at `position`, in `record`.
    void hit(std::size_t position, std::uint32_t record, MatchClass match)
    {
        if (record == pending) {
            if (match > pendingClass) {
                pendingClass = match;
                pendingPosition = position;
            }
            return;
        }
        close();
        pending = record;
        pendingClass = match;
        pendingPosition = position;
    }
    /// The record of the last hit is complete. To be called once more at the end of a scan.
    void close()
    {
        if (pending == noRecord)
            return;
        if (visitsAll ||
            bar.mayPass(block.traits(pending), pendingClass, block.changeTime(pending)))
            rank();
        pending = noRecord;
    }

    /// The least class with which a hit in a stretch of the block may enter the list; one beyond
    /// `whole` if none can.
    MatchClass floorOf(std::size_t stretch) const;

    // Read and written by the scan kernels.
    const NameBlock &block;
    const bool visitsAll;
    std::uint64_t count = 0;
    MatchClass leastClass = MatchClass::none;
    Bar bar;
    std::uint32_t pending = noRecord;
    MatchClass pendingClass = MatchClass::none;
    std::size_t pendingPosition = 0;

private:
    void rank();

    TopHits &_top;
    const NameSummary *_summary;  // null if there is none
    std::uint32_t _firstRecord;
    std::uint32_t _recordCount;
    RecordFilter _filter;
};

/// A scan of the bytes [from, to) of the sink's block, both at the beginning of a record. The
/// vector forms read up to 64 bytes and a needle's length beyond `to`.
using ScanFunction = void (*)(std::size_t from, std::size_t to, const Needle &, HitSink &);

/// Byte by byte and never beyond `to`: what the others must agree with.
void scanPlain(std::size_t from, std::size_t to, const Needle &needle, HitSink &sink);
#if defined(__x86_64__)
void scanSse2(std::size_t from, std::size_t to, const Needle &needle, HitSink &sink);
/// Only on processors that have AVX2, BMI and POPCNT.
void scanAvx2(std::size_t from, std::size_t to, const Needle &needle, HitSink &sink);
#endif

/// A form of the scan and what to call it.
struct ScanForm {
    const char *name = nullptr;
    ScanFunction scan = nullptr;
};
/// Those that this processor can run, the plain one first, the best last.
std::vector<ScanForm> availableScans();
/// The best form.
ScanFunction bestScan();

}  // namespace vellumhound::index
