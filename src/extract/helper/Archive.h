// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/Input.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vellumhound::extract::helper {

/// The parts of a zip archive, in the order in which they stand in it. Parts that nobody reads are
/// stepped over without reading the file there. Archives inside the archive are never opened. A
/// part, or all parts together, that inflate out of proportion end the reading.
class Archive {
public:
    explicit Archive(Input &input);
    ~Archive();
    Archive(const Archive &) = delete;
    Archive &operator=(const Archive &) = delete;

    /// Steps to the next part; false at the end, after damage, or beyond the limits.
    bool next();
    /// Of the part stepped to; empty if it has none that is text.
    const std::string &name() const { return _name; }
    bool isEncrypted() const { return _isEncrypted; }
    /// Gives the part's bytes until there are no more or `take` returns false.
    void read(const std::function<bool(std::string_view)> &take);
    /// The part as a whole, at most so many bytes of it.
    std::string readWhole(std::size_t maxBytes);

    /// At least one part was found: it is an archive.
    bool isArchive() const { return _parts > 0; }
    /// Something was left out because of the limits.
    bool isCut() const { return _isCut; }

private:
    struct State;

    std::unique_ptr<State> _state;
    std::string _name;
    std::uint64_t _inflatedBytes = 0;
    unsigned _parts = 0;
    bool _isEncrypted = false;
    bool _isCut = false;
    bool _isOver = false;
};

}  // namespace vellumhound::extract::helper
