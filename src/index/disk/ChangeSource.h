// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vellumhound::index {

/// Something that happened in, or to, a watched folder. A hint: what is there now is asked of the
/// disk.
struct Change {
    enum class Kind {
        entry,        ///< the entry `name` of the folder came, went or became another one
        movedAway,    ///< `name` left for another place
        movedHere,    ///< `name` came from another place; told after its movedAway, if there is one
        written,      ///< somebody has finished writing `name`
        folderGone,   ///< the folder itself was removed or unmounted, or is watched no more
        folderMoved,  ///< the folder itself has another name or another place
        lost,         ///< changes were lost, anywhere
    };

    Kind kind = Kind::entry;
    int watch = -1;
    std::string name;
    bool isNewFolder = false;  ///< `name` came, and is a folder
    std::uint32_t move = 0;    ///< the same in movedAway and movedHere of one move

    bool operator==(const Change &) const = default;
};

/// Where changes of folders come from. watch() and unwatch() may be called from any thread, the
/// rest from one.
class ChangeSource {
public:
    static constexpr int noWatch = -1;
    enum class Interest {
        place,     ///< that the folder itself is moved or goes, at least
        names,     ///< entries that come and go
        contents,  ///< also entries that somebody has finished writing
    };

    virtual ~ChangeSource() = default;

    /// Watches the folder behind an open descriptor; a folder already watched keeps its number.
    /// noWatch when it cannot be watched, most often because no more watches are to be had.
    virtual int watch(int folderDescriptor, Interest interest) = 0;
    virtual void unwatch(int watch) = 0;
    /// Readable when read() has something to give; -1 for a source that must be asked.
    virtual int descriptor() const = 0;
    /// What has happened since the last call, in order. Does not block.
    virtual std::vector<Change> read() = 0;
};

}  // namespace vellumhound::index
