// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/snapshot/SnapshotTrees.h"

#include <cstring>
#include <type_traits>

namespace vellumhound::index {

namespace {

class Encoder {
public:
    template <class Number> void number(Number value)
    {
        static_assert(std::is_integral_v<Number>);
        _bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
    }
    void text(const std::string &value)
    {
        number(std::uint32_t(value.size()));
        _bytes += value;
    }
    std::string take() { return std::move(_bytes); }

private:
    std::string _bytes;
};

/// Gives zeros and empty texts once something was missing.
class Decoder {
public:
    explicit Decoder(std::string_view bytes)
        : _rest(bytes)
    {
    }
    template <class Number> Number number()
    {
        Number value{};
        const auto bytes = take(sizeof value);
        if (!bytes.empty())
            std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }
    std::string text()
    {
        const auto length = number<std::uint32_t>();
        return std::string(take(length));
    }
    bool isWhole() const { return !_isCut; }
    bool isAtEnd() const { return _rest.empty(); }

private:
    std::string_view take(std::size_t count)
    {
        _isCut = _isCut || count > _rest.size();
        if (_isCut)
            return {};
        const auto taken = _rest.substr(0, count);
        _rest.remove_prefix(count);
        return taken;
    }

    std::string_view _rest;
    bool _isCut = false;
};

bool isPath(const std::string &path)
{
    return path.starts_with('/') && path.find('\0') == std::string::npos &&
           (path.size() == 1 || !path.ends_with('/'));
}

}  // namespace

std::string encode(const SnapshotTrees &trees)
{
    Encoder out;
    out.number(std::uint32_t(trees.roots.size()));
    for (const auto &root : trees.roots) {
        out.text(root.path);
        out.number(root.folder);
        out.number(std::uint8_t(root.isCrawled ? 1 : 0));
        out.number(root.identity.fileSystem);
        out.number(root.identity.inode);
        out.number(root.identity.birth);
    }
    out.number(std::uint32_t(trees.stops.size()));
    for (const auto &stop : trees.stops)
        out.text(stop);
    return out.take();
}

std::optional<SnapshotTrees> decodeTrees(std::string_view bytes)
{
    Decoder in(bytes);
    SnapshotTrees trees;
    for (auto left = in.number<std::uint32_t>(); left > 0 && in.isWhole(); --left) {
        SnapshotTrees::Root root;
        root.path = in.text();
        root.folder = in.number<FolderId>();
        const auto isCrawled = in.number<std::uint8_t>();
        root.isCrawled = isCrawled == 1;
        root.identity.fileSystem = in.number<std::uint64_t>();
        root.identity.inode = in.number<std::uint64_t>();
        root.identity.birth = in.number<std::int64_t>();
        if (!isPath(root.path) || isCrawled > 1)
            return std::nullopt;
        trees.roots.push_back(std::move(root));
    }
    for (auto left = in.number<std::uint32_t>(); left > 0 && in.isWhole(); --left)
        trees.stops.push_back(in.text());
    if (!in.isWhole() || !in.isAtEnd())
        return std::nullopt;
    return trees;
}

}  // namespace vellumhound::index
