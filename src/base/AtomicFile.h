// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vellumhound::base {

/// A file that is there whole or not at all: written beside its place under another name, brought
/// to the disk and then renamed. Only its owner may read it. One thread.
class AtomicFile {
public:
    explicit AtomicFile(std::string path);
    /// Takes away what was written, unless commit() succeeded.
    ~AtomicFile();
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    /// Errors are kept and told by commit(); what is written after one is dropped.
    void write(std::string_view bytes);
    /// Over bytes that have been written.
    void writeAt(std::uint64_t offset, std::string_view bytes);
    /// Bytes written so far.
    std::uint64_t size() const { return _size; }
    bool hasFailed() const { return _error != 0; }

    Outcome commit();

    /// What stands behind a file's name while it is being written.
    static constexpr std::string_view suffix = ".new";

private:
    void put(std::string_view bytes, std::uint64_t offset);
    void drain();

    std::string _path;
    std::string _writtenPath;
    int _descriptor = -1;
    int _error = 0;  // errno of the first failure
    std::string _pending;
    std::uint64_t _size = 0;
    bool _isCommitted = false;
};

}  // namespace vellumhound::base
