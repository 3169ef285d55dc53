// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/Scan.h"

#include "index/names/Noise.h"

#include <cstring>
#include <utility>

namespace vellumhound::index {

HitSink::HitSink(TopHits &top, const NameBlock &names, std::uint32_t firstRecord,
    bool visitsAllRecords, RecordFilter filter)
    : block(names)
    , visitsAll(visitsAllRecords)
    , leastClass(visitsAll ? MatchClass::none : top.leastClass())
    , bar(top.bar())
    , _top(top)
    , _summary(names.summary())
    , _firstRecord(firstRecord)
    , _recordCount(names.published().count)
    , _filter(std::move(filter))
{
}

MatchClass HitSink::floorOf(std::size_t stretch) const
{
    // While the list has room, or noise in it, everything is looked at.
    if (leastClass == MatchClass::none || !_summary)
        return leastClass;
    const auto best = _summary->bestTraits(stretch);
    if (best.isNoise())
        return MatchClass(unsigned(MatchClass::whole) + 1);
    const bool mayEnter = bar.mayPass(best, leastClass, _summary->newestChange(stretch));
    return mayEnter ? leastClass : MatchClass(unsigned(leastClass) + 1);
}

void HitSink::rank()
{
    // A damaged block, before somebody has found out, may count more names than it has.
    if (pending >= _recordCount)
        return;
    auto match = pendingClass;
    if (visitsAll) {
        if (_filter && !_filter(pending, match))
            return;
        ++count;
    }
    const auto traits = block.traits(pending);
    const auto changed = block.changeTime(pending);
    if (!bar.mayPass(traits, match, changed))
        return;
    const char *start = block.data() + pendingPosition;
    while (start[-1] != '\0')
        --start;
    const std::string_view name(start);
    Relevance relevance{traits.isNoise(), match, 0, changed, traits.depth(), name.size()};
    const auto keyOf = [&] {
        return RankKey::of(relevance, _top.recency(), _firstRecord + pending);
    };
    auto key = keyOf();
    if (key <= _top.threshold() || (!visitsAll && _filter && !_filter(pending, match)))
        return;
    if (!relevance.isNoise && isNoiseName(name)) {
        relevance.isNoise = true;
        key = keyOf();
    }
    const auto before = _top.threshold();
    _top.offer(key);
    if (_top.threshold() == before)
        return;
    bar = _top.bar();
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
