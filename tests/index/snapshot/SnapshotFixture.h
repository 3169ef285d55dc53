// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Crc32c.h"
#include "index/names/IndexWriter.h"
#include "index/names/NameSearch.h"
#include "index/snapshot/SnapshotFile.h"
#include "index/snapshot/SnapshotWriter.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vellumhound::tests {

using namespace vellumhound::index;

/// Compacted tables over an invented tree: three roots, folders in folders, empty ones, a last name
/// at any place, names that are ASCII and names that are not. Other seeds give other names.
inline SnapshotContents inventedIndex(std::uint32_t seed, std::size_t count)
{
    std::mt19937 random(seed);
    PublishedView published;
    IndexWriter writer(published);
    std::vector<FolderId> folders;
    for (const auto *path : {"/home/someone", "/", "/data"}) {
        const auto root = writer.addRoot(path);
        writer.setRootCrawled(root);
        writer.setRootIdentity(root, {0xEF53, root + 2, 1'700'000'000'000'000'000});
        folders.push_back(writer.view().roots[root].folder);
    }
    static constexpr const char *words[] = {
        "report", "Été", "Straße", "image", "x", "договор", "会議", "b\xFF", "node_modules"};
    for (std::size_t i = 0; i < count; ++i) {
        const auto parent = folders[random() % folders.size()];
        const bool isFolder = random() % 6 == 0;
        const auto name = words[random() % 9] + std::to_string(i);
        const auto record =
            writer.add(parent, name, isFolder ? EntryKind::folder : EntryKind::file);
        writer.setChangeTime(record, std::uint32_t(random()));
        if (isFolder) {
            folders.push_back(writer.addFolder(record));
            writer.setTime(folders.back(), std::int64_t(random()) * 1'000'000);
        }
    }
    auto compacted = writer.beginCompaction()();
    return {compacted.base, compacted.folderTimes, compacted.roots, {"/home/someone/x", "/proc"}};
}

/// A view of a base without a tail.
inline IndexView viewOf(const SnapshotContents &contents)
{
    IndexView view;
    view.base = contents.base;
    view.tail =
        std::make_shared<IndexTail>(contents.base->recordCount(), contents.base->folderCount());
    view.roots = contents.roots;
    view.applications = std::make_shared<const ApplicationTable>();
    return view;
}

/// What a search finds, best first, by paths; the first says how many.
inline std::vector<std::string> found(
    const IndexView &view, const std::string &text, const std::string &scope = "/")
{
    QueryScopes scopes;
    scopes.folders = {scope};
    ResolvedScopes resolved(view, scopes);
    const auto answer = searchNames(
        view, resolved, Needle(text, view.base->frequencies), {true, {}, view.tail->mark()}, 500);
    std::vector<std::string> paths{std::to_string(answer.count)};
    for (const auto key : answer.best)
        paths.push_back(view.pathOf(key.record()));
    return paths;
}

inline std::array<char, 16> someOwner()
{
    return {"someone"};
}

inline SnapshotWriter::State writeAll(SnapshotWriter &writer)
{
    auto state = SnapshotWriter::State::unfinished;
    while (state == SnapshotWriter::State::unfinished)
        state = writer.step();
    return state;
}

inline bool isSound(const LoadedSnapshot &loaded)
{
    SnapshotCheck check(loaded.mapping);
    auto verdict = SnapshotCheck::Verdict::unfinished;
    while (verdict == SnapshotCheck::Verdict::unfinished)
        verdict = check.step();
    return verdict == SnapshotCheck::Verdict::sound;
}

/// A snapshot file as bytes, to be damaged.
class SnapshotBytes {
public:
    static std::string read(const std::string &path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    explicit SnapshotBytes(std::string content)
        : bytes(std::move(content))
    {
    }
    SnapshotHeader header() const
    {
        SnapshotHeader header;
        std::memcpy(&header, bytes.data(), sizeof header);
        return header;
    }
    void setHeader(const SnapshotHeader &header)
    {
        std::memcpy(bytes.data(), &header, sizeof header);
    }
    /// Makes all checksums right again, as somebody would who means harm.
    void seal()
    {
        auto sealed = header();
        const SnapshotLayout layout(sealed);
        for (std::size_t i = 0; i < snapshotSections; ++i) {
            if (layout.offsets[i] + layout.bytes[i] <= bytes.size())
                sealed.checksums[i] = base::crc32c(
                    std::as_bytes(std::span(bytes).subspan(layout.offsets[i], layout.bytes[i])));
        }
        sealed.checksum = sealed.ownChecksum();
        setHeader(sealed);
    }
    void write(const std::string &path) const
    {
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(bytes.data(), std::streamsize(bytes.size()));
    }

    std::string bytes;
};

}  // namespace vellumhound::tests
