// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/snapshot/SnapshotFile.h"

#include <QString>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>

namespace vellumhound::index {

namespace {

using Numbers = std::span<const std::uint32_t>;

Numbers numbers(const SnapshotMapping &mapping, SnapshotSection section)
{
    return mapping.items<const std::uint32_t>(section);
}

/// Neither falling nor beyond `most`. Written so that it compiles to vectors: these are millions.
bool isRising(Numbers values, std::uint32_t most)
{
    std::uint32_t faults = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
        faults |= values[i] < values[i - 1] ? 1 : 0;
    return faults == 0 && (values.empty() || values.back() <= most);
}

bool isStrictlyRising(Numbers values, std::uint64_t below)
{
    std::uint32_t faults = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
        faults |= values[i] <= values[i - 1] ? 1 : 0;
    return faults == 0 && (values.empty() || values.back() < below);
}

bool isZero(std::span<const char> bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == '\0'; });
}

/// The counts of names and their beginnings.
bool arePlacesSound(const SnapshotMapping &mapping)
{
    const auto &header = mapping.header();
    if (header.namesEnd < NameBlock::firstByte ||
        (header.records > 0) != (header.namesEnd > NameBlock::firstByte))
        return false;
    const auto names = mapping.bytes(SnapshotSection::names);
    if (!isZero(names.first(NameBlock::firstByte)) || !isZero(names.subspan(header.namesEnd)) ||
        names[header.namesEnd - 1] != '\0')
        return false;
    // The first stands for the zeros before the names and is less than none.
    const auto closed = numbers(mapping, SnapshotSection::closedBefore);
    const auto starts = numbers(mapping, SnapshotSection::starts);
    return closed.front() == 0U - std::uint32_t(NameBlock::firstByte) &&
           isRising(closed.subspan(1), header.records) && isRising(starts, header.namesEnd) &&
           starts.front() >= NameBlock::firstByte;
}

bool areOriginalNumbersSound(const SnapshotMapping &mapping)
{
    const auto &header = mapping.header();
    const auto starts = numbers(mapping, SnapshotSection::originalStarts);
    return isStrictlyRising(numbers(mapping, SnapshotSection::originalRecords), header.records) &&
           starts.front() == 0 && starts.back() == header.originalBytes &&
           isRising(starts, std::uint32_t(header.originalBytes)) &&
           header.originalBytes <= ~std::uint32_t(0);
}

/// Whether the folders are trees in depth-first order, each below an entry of its parent.
bool areFoldersSound(const SnapshotMapping &mapping, const SnapshotTrees &trees)
{
    const auto firsts = numbers(mapping, SnapshotSection::firstRecords);
    const auto records = numbers(mapping, SnapshotSection::folderRecords);
    const auto parents = numbers(mapping, SnapshotSection::parents);
    const auto ends = numbers(mapping, SnapshotSection::subtreeEnds);
    const auto count = mapping.header().folders;
    if (!isRising(firsts, mapping.header().records) || firsts.front() != 0 ||
        firsts.back() != mapping.header().records)
        return false;
    std::vector<FolderId> open;  // those that the folder at hand is in
    std::uint32_t rootCount = 0;
    for (FolderId folder = 0; folder < count; ++folder) {
        while (!open.empty() && ends[open.back()] == folder)
            open.pop_back();
        const auto parent = open.empty() ? nothing : open.back();
        const auto most = parent == nothing ? count : ends[parent];
        if (parents[folder] != parent || ends[folder] <= folder || ends[folder] > most)
            return false;
        const auto record = records[folder];
        if (parent == nothing) {
            if (record >= trees.roots.size() || trees.roots[record].folder != folder)
                return false;
            ++rootCount;
        } else if (record < firsts[parent] || record >= firsts[parent + 1]) {
            return false;
        }
        open.push_back(folder);
    }
    return rootCount == trees.roots.size();
}

/// Whether `byRecord` names each folder but the roots once, in the order of their entries.
bool isOrderSound(const SnapshotMapping &mapping, std::size_t rootCount)
{
    const auto count = mapping.header().folders;
    const auto records = numbers(mapping, SnapshotSection::folderRecords);
    const auto parents = numbers(mapping, SnapshotSection::parents);
    const auto order = numbers(mapping, SnapshotSection::byRecord).first(count - rootCount);
    std::int64_t last = -1;
    return std::all_of(order.begin(), order.end(), [&](FolderId folder) {
        if (folder >= count || parents[folder] == nothing || records[folder] <= last)
            return false;
        last = records[folder];
        return true;
    });
}

bool hasOriginal(const SnapshotMapping &mapping, std::uint32_t record)
{
    const auto originals = numbers(mapping, SnapshotSection::originalRecords);
    return std::binary_search(originals.begin(), originals.end(), record);
}

/// Calls `isAllowed(position)` for each place of `text` in `bytes`; false once that says no.
bool areAll(std::span<const char> bytes, std::string_view text,
    const std::function<bool(std::size_t)> &isAllowed)
{
    const char *at = bytes.data();
    const char *const end = at + bytes.size();
    while (at < end) {
        const auto *found = static_cast<const char *>(
            ::memmem(at, std::size_t(end - at), text.data(), text.size()));
        if (!found)
            return true;
        if (!isAllowed(std::size_t(found - bytes.data())))
            return false;
        at = found + 1;
    }
    return true;
}

std::uint32_t closedWithin(std::span<const char> bytes)
{
    return std::uint32_t(std::count(bytes.begin(), bytes.end(), '\0'));
}

}  // namespace

QString faultInNumbers(const SnapshotMapping &mapping, const SnapshotTrees &trees)
{
    const auto fault = [](const char *text) { return QString::fromLatin1(text); };
    if (!arePlacesSound(mapping))
        return fault("its names are not where they should be");
    if (!areOriginalNumbersSound(mapping))
        return fault("its original names are not where they should be");
    if (!areFoldersSound(mapping, trees) || !isOrderSound(mapping, trees.roots.size()))
        return fault("its folders do not fit each other");
    return {};
}

bool areNamesSound(const SnapshotMapping &mapping, std::size_t from, std::size_t to)
{
    constexpr auto group = NameBlock::groupBytes;
    const auto &header = mapping.header();
    const auto bytes = mapping.bytes(SnapshotSection::names);
    const auto closed = numbers(mapping, SnapshotSection::closedBefore);
    const auto end = std::min<std::size_t>(to, header.namesEnd);
    for (auto at = from; at < end; at += group) {
        const bool isLast = at + group > header.namesEnd;
        const auto behind = isLast ? header.records : closed[at / group + 1];
        const auto length = std::min<std::size_t>(group, header.namesEnd - at);
        if (closed[at / group] + closedWithin(bytes.subspan(at, length)) != behind)
            return false;
    }
    // A record that begins in [from, end) is looked up by counting within its group.
    const auto recordAt = [&](std::size_t at) {
        const auto first = at / group * group;
        return closed[at / group] + closedWithin(bytes.subspan(first, at - first));
    };
    const auto starts = numbers(mapping, SnapshotSection::starts);
    const auto firstStart = std::lower_bound(starts.begin(), starts.end(), from);
    for (auto start = firstStart; start != starts.end() && *start < end; ++start) {
        const auto record = std::uint32_t(start - starts.begin()) * NameBlock::sampleEvery;
        if (bytes[*start - 1] != '\0' || recordAt(*start) != record)
            return false;
    }
    if (to == bytes.size() && starts.back() == header.namesEnd &&
        header.records % NameBlock::sampleEvery != 0)
        return false;
    // What no folder can hold may only come from folding.
    const auto before = std::max<std::size_t>(from, NameBlock::firstByte) - 1;
    const auto piece = end > before ? bytes.subspan(before, end - before) : bytes.first(0);
    const auto isFolded = [&](std::size_t at) {
        return hasOriginal(mapping, recordAt(before + at + 1));
    };
    return areAll(piece, "/",
               [&](std::size_t at) { return hasOriginal(mapping, recordAt(before + at)); }) &&
           areAll(piece, std::string_view("\0\0", 2), isFolded) &&
           areAll(piece, std::string_view("\0.", 2), isFolded);
}

bool areOriginalsSound(const SnapshotMapping &mapping)
{
    const auto bytes = mapping.bytes(SnapshotSection::originalBytes);
    const auto starts = numbers(mapping, SnapshotSection::originalStarts);
    const auto never = [](std::size_t) { return false; };
    if (!isStrictlyRising(starts, std::uint64_t(bytes.size()) + 1) || !areAll(bytes, "/", never) ||
        !areAll(bytes, std::string_view("\0", 1), never))
        return false;
    return std::none_of(
        starts.begin(), starts.end() - 1, [&](std::uint32_t start) { return bytes[start] == '.'; });
}

}  // namespace vellumhound::index
