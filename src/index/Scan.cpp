// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/Scan.h"

#include "index/Noise.h"

#include <cstring>
#include <utility>

namespace vellumhound::index {

HitSink::HitSink(TopHits &top, const NameBlock &names, std::uint32_t firstRecord,
    bool visitsAllRecords, RecordFilter filter)
    : block(names)
    , visitsAll(visitsAllRecords)
    , leastClass(visitsAll ? MatchClass::none : top.leastClass())
    , threshold(top.threshold())
    , _top(top)
    , _firstRecord(firstRecord)
    , _filter(std::move(filter))
{
}

void HitSink::rank()
{
    if (visitsAll) {
        if (_filter && !_filter(pending))
            return;
        ++count;
    }
    const auto traits = block.traits(pending);
    if (RankKey::bound(traits, pendingClass) <= threshold)
        return;
    const char *start = block.data() + pendingPosition;
    while (start[-1] != '\0')
        --start;
    const std::string_view name(start);
    const auto key = RankKey::of(traits.isNoise() || isNoiseName(name), pendingClass,
        traits.depth(), name.size(), _firstRecord + pending);
    if (key.bits <= threshold || (!visitsAll && _filter && !_filter(pending)))
        return;
    _top.offer(key);
    threshold = _top.threshold();
    if (!visitsAll)
        leastClass = _top.leastClass();
}

void scanPlain(std::size_t from, std::size_t to, const Needle &needle, HitSink &sink)
{
    if (needle.isEmpty())
        return;
    const char *data = sink.block.data();
    std::uint32_t record = from < to ? sink.block.recordAt(from) : 0;
    std::uint32_t counted = HitSink::noRecord;
    for (auto at = from; at + needle.size() < to; ++at) {
        if (data[at] == '\0') {
            ++record;
        } else if (needle.matchesAt(data + at)) {
            sink.hit(at, record, classOfMatch(data + at, needle.size()));
            if (!sink.visitsAll && counted != record)
                ++sink.count;
            counted = record;
        }
    }
    sink.close();
}

std::vector<ScanForm> availableScans()
{
    std::vector<ScanForm> forms{{"plain", scanPlain}};
#if defined(__x86_64__)
    forms.push_back({"sse2", scanSse2});
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
        __builtin_cpu_supports("popcnt"))
        forms.push_back({"avx2", scanAvx2});
#endif
    return forms;
}

ScanFunction bestScan()
{
    static const ScanFunction best = availableScans().back().scan;
    return best;
}

}  // namespace vellumhound::index
