// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/Manifest.h"

#include "base/AtomicFile.h"
#include "base/Crc32c.h"

#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace vellumhound::content {

namespace {

constexpr std::string_view magic = "VHTEXTM\n";
constexpr std::uint32_t version = 1;

template <class Number> void put(std::string &out, Number value)
{
    std::array<char, sizeof value> bytes{};
    std::memcpy(bytes.data(), &value, sizeof value);
    out.append(bytes.data(), bytes.size());
}

std::uint32_t crcOf(std::string_view bytes)
{
    return base::crc32c(std::as_bytes(std::span(bytes)));
}

/// Takes numbers off the front of bytes; zeros from the end on.
class Reader {
public:
    explicit Reader(std::string_view bytes)
        : _bytes(bytes)
    {
    }

    template <class Number> Number take()
    {
        Number value{};
        const auto bytes = takeBytes(sizeof value);
        if (bytes.size() == sizeof value)
            std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }
    std::string_view takeBytes(std::size_t size)
    {
        isComplete = isComplete && size <= _bytes.size();
        if (!isComplete)
            return {};
        const auto taken = _bytes.substr(0, size);
        _bytes.remove_prefix(size);
        return taken;
    }
    std::size_t left() const { return _bytes.size(); }

    bool isComplete = true;

private:
    std::string_view _bytes;
};

/// The whole file; absent if there is none. A manifest that cannot be read is an empty one.
std::optional<std::string> contentsOf(const std::string &path)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0)
        return {};
    std::string all;
    std::array<char, 65536> part{};
    for (ssize_t got = 0; (got = ::read(descriptor, part.data(), part.size())) > 0;)
        all.append(part.data(), std::size_t(got));
    ::close(descriptor);
    return all;
}

Manifest::Segment takeSegment(Reader &reader)
{
    Manifest::Segment segment;
    segment.id = reader.take<std::uint64_t>();
    segment.headerCrc = reader.take<std::uint32_t>();
    const auto words = reader.take<std::uint32_t>();
    for (std::uint32_t i = 0; i < words && reader.isComplete; ++i)
        segment.dead.push_back(reader.take<std::uint64_t>());
    const auto moves = reader.take<std::uint32_t>();
    for (std::uint32_t i = 0; i < moves && reader.isComplete; ++i) {
        const auto document = reader.take<std::uint32_t>();
        const RankFacts facts{reader.take<std::uint8_t>() != 0};
        const auto length = reader.take<std::uint16_t>();
        std::string path(reader.takeBytes(length));
        segment.moves.byPath.emplace(path, document);
        segment.moves.byDocument.emplace(document, MovedTo{std::move(path), facts});
    }
    return segment;
}

}  // namespace

Manifest Manifest::of(const TextState &state, std::uint64_t nextId)
{
    Manifest manifest;
    manifest.nextId = nextId;
    for (const auto &from : state.segments) {
        Segment segment;
        segment.id = from.id;
        segment.headerCrc = from.segment->header().crc;
        if (from.dead->count() > 0) {
            for (std::size_t i = 0; i < from.dead->wordCount(); ++i)
                segment.dead.push_back(from.dead->word(i));
        }
        if (from.moves) {
            for (const auto &[document, moved] : from.moves->byDocument) {
                if (from.dead->has(document))
                    continue;  // another one may have its path by now
                segment.moves.byDocument.emplace(document, moved);
                segment.moves.byPath.emplace(moved.path, document);
            }
        }
        manifest.segments.push_back(std::move(segment));
    }
    return manifest;
}

base::Result<std::optional<Manifest>> readManifest(const std::string &path)
{
    const auto contents = contentsOf(path);
    if (!contents)
        return std::optional<Manifest>();
    const std::string_view all(*contents);
    if (!all.starts_with(magic))
        return base::Error{QStringLiteral("it is no file of ours")};
    Reader reader(all.substr(magic.size()));
    const auto found = reader.take<std::uint32_t>();
    if (reader.isComplete && found != version)
        return base::Error{QStringLiteral("it is of version %1").arg(found)};
    constexpr auto crcBytes = sizeof(std::uint32_t);
    Reader crc(all.substr(all.size() - std::min(all.size(), crcBytes)));
    if (!reader.isComplete || reader.left() < crcBytes ||
        crc.take<std::uint32_t>() != crcOf(all.substr(0, all.size() - crcBytes)))
        return base::Error{QStringLiteral("it is damaged")};
    Manifest manifest;
    manifest.nextId = reader.take<std::uint64_t>();
    const auto count = reader.take<std::uint32_t>();
    for (std::uint32_t i = 0; i < count && reader.isComplete; ++i)
        manifest.segments.push_back(takeSegment(reader));
    if (!reader.isComplete || reader.left() != crcBytes)
        return base::Error{QStringLiteral("it is damaged")};
    return std::optional(std::move(manifest));
}

base::Outcome writeManifest(const std::string &path, const Manifest &manifest)
{
    std::string bytes(magic);
    put(bytes, version);
    put(bytes, manifest.nextId);
    put(bytes, std::uint32_t(manifest.segments.size()));
    for (const auto &segment : manifest.segments) {
        put(bytes, segment.id);
        put(bytes, segment.headerCrc);
        put(bytes, std::uint32_t(segment.dead.size()));
        for (const auto word : segment.dead)
            put(bytes, word);
        put(bytes, std::uint32_t(segment.moves.byDocument.size()));
        for (const auto &[document, moved] : segment.moves.byDocument) {
            put(bytes, document);
            put(bytes, std::uint8_t(moved.facts.isNoise ? 1 : 0));
            put(bytes, std::uint16_t(moved.path.size()));
            bytes += moved.path;
        }
    }
    put(bytes, crcOf(bytes));
    base::AtomicFile file(path);
    file.write(bytes);
    return file.commit();
}

}  // namespace vellumhound::content
