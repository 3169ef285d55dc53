// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vellumhound::extract::helper {

/// The file to be read: its descriptor, which it closes, and its size when the reading began.
class Input {
public:
    /// Takes the descriptor over.
    explicit Input(int descriptor);
    ~Input();
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;

    bool isRegularFile() const { return _isRegularFile; }
    std::uint64_t size() const { return _size; }
    /// Whether the disk has refused to give something. What was read is not to be relied on then.
    bool hasFailed() const { return _hasFailed; }
    /// The first bytes, at most so many; fewer at the end of the file or after an error. Read
    /// again, lasts until the next call.
    std::string_view beginning(std::uint64_t maxBytes);
    /// The whole file in memory; empty if that fails. Large files are mapped: one that is cut short
    /// meanwhile brings the process down, which costs that file its text.
    std::string_view bytes();
    /// Reads at a place, without moving the descriptor's offset, which the other end shares. 0 at
    /// the end, negative on an error.
    std::int64_t readAt(std::uint64_t offset, char *buffer, std::size_t size) const;

private:
    int _descriptor;
    bool _isRegularFile = false;
    std::uint64_t _size = 0;
    mutable bool _hasFailed = false;
    std::string _buffer;
    void *_mapping = nullptr;
};

}  // namespace vellumhound::extract::helper
