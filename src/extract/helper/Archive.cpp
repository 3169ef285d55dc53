// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/Archive.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <cstdio>

namespace vellumhound::extract::helper {
namespace {

constexpr unsigned maxParts = 20'000;
constexpr std::uint64_t maxInflatedBytes = 256u << 20;
/// A part that has grown so large may be so many times as large as what it was read from.
constexpr std::uint64_t ratioCountsFrom = 16u << 20;
constexpr std::uint64_t maxRatio = 150;

}  // namespace

struct Archive::State {
    explicit State(Input &file)
        : input(file)
        , reader(archive_read_new())
    {
    }
    ~State() { archive_read_free(reader); }

    static la_ssize_t read(struct archive *, void *user, const void **bytes)
    {
        auto &state = *static_cast<State *>(user);
        const auto count =
            state.input.readAt(state.offset, state.buffer.data(), state.buffer.size());
        *bytes = state.buffer.data();
        if (count < 0)
            return -1;
        state.offset += std::uint64_t(count);
        state.readBytes += std::uint64_t(count);
        return la_ssize_t(count);
    }
    static la_int64_t skip(struct archive *, void *user, la_int64_t count)
    {
        auto &state = *static_cast<State *>(user);
        const auto left =
            la_int64_t(state.input.size() - std::min(state.offset, state.input.size()));
        const auto skipped = std::clamp<la_int64_t>(count, 0, left);
        state.offset += std::uint64_t(skipped);
        return skipped;
    }
    static la_int64_t seek(struct archive *, void *user, la_int64_t offset, int whence)
    {
        auto &state = *static_cast<State *>(user);
        const auto base = whence == SEEK_SET   ? la_int64_t(0)
                          : whence == SEEK_CUR ? la_int64_t(state.offset)
                                               : la_int64_t(state.input.size());
        if (offset < -base || offset > la_int64_t(state.input.size()) - base)
            return ARCHIVE_FATAL;
        state.offset = std::uint64_t(base + offset);
        return la_int64_t(state.offset);
    }

    Input &input;
    struct archive *reader;
    std::uint64_t offset = 0;
    std::uint64_t readBytes = 0;
    std::array<char, std::size_t(32) * 1024> buffer{};
};

Archive::Archive(Input &input)
    : _state(std::make_unique<State>(input))
{
    auto *reader = _state->reader;
    archive_read_support_format_zip(reader);
    archive_read_set_callback_data(reader, _state.get());
    archive_read_set_read_callback(reader, &State::read);
    archive_read_set_skip_callback(reader, &State::skip);
    archive_read_set_seek_callback(reader, &State::seek);
    _isOver = archive_read_open1(reader) != ARCHIVE_OK;
}

Archive::~Archive() = default;

bool Archive::next()
{
    archive_entry *entry = nullptr;
    if (_isOver)
        return false;
    if (_parts >= maxParts) {
        _isCut = _isOver = true;
        return false;
    }
    const int result = archive_read_next_header(_state->reader, &entry);
    if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
        _isOver = true;
        return false;
    }
    ++_parts;
    const char *name = archive_entry_pathname_utf8(entry);
    if (!name)
        name = archive_entry_pathname(entry);
    _name = name ? name : "";
    _isEncrypted = archive_entry_is_encrypted(entry) != 0;
    return true;
}

void Archive::read(const std::function<bool(std::string_view)> &take)
{
    std::array<char, std::size_t(32) * 1024> bytes{};
    const auto readBefore = _state->readBytes;
    std::uint64_t size = 0;
    for (;;) {
        const auto count = archive_read_data(_state->reader, bytes.data(), bytes.size());
        if (count == ARCHIVE_RETRY)
            continue;
        if (count <= 0)
            return;
        size += std::uint64_t(count);
        _inflatedBytes += std::uint64_t(count);
        const auto from = _state->readBytes - readBefore + _state->buffer.size();
        if (_inflatedBytes > maxInflatedBytes ||
            (size > ratioCountsFrom && size / from > maxRatio)) {
            _isCut = _isOver = true;
            return;
        }
        if (!take({bytes.data(), std::size_t(count)}))
            return;
    }
}

std::string Archive::readWhole(std::size_t maxBytes)
{
    std::string whole;
    read([&](std::string_view bytes) {
        whole += bytes.substr(0, maxBytes - whole.size());
        return whole.size() < maxBytes;
    });
    return whole;
}

}  // namespace vellumhound::extract::helper
