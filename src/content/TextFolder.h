// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vellumhound::content {

/// The folder of a text index: what its files are called, and that only one program writes there.
/// One thread.
class TextFolder {
public:
    explicit TextFolder(std::string path);
    ~TextFolder();
    TextFolder(const TextFolder &) = delete;
    TextFolder &operator=(const TextFolder &) = delete;

    /// Makes the folder if it is not there (only its owner may enter) and keeps other programs out.
    /// Cheap if all that is done.
    base::Outcome prepare();

    std::string manifestPath() const { return _path + "/manifest"; }
    std::string segmentPath(std::uint64_t id) const;

    /// Deletes what writing left behind and segments that are not in `kept`.
    void sweep(const std::vector<std::uint64_t> &kept) const;
    /// Deletes every file of the index, and the folder if nothing else is in it.
    void removeAll();

private:
    std::vector<std::string> ourFiles() const;
    void unlock();

    std::string _path;
    int _lock = -1;
};

}  // namespace vellumhound::content
