// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"
#include "index/disk/WatchBudget.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace vellumhound::index {

/// Changes by the kernel's fanotify, with one mark a folder, as it lets anybody use it since
/// Linux 5.13. Its marks are counted apart from inotify's watches. Costs some 200 bytes a folder,
/// for the kernel names folders by handles and gives nobody a way back from these.
///
/// Does not tell when a file system is unmounted: who unwatches the folders of a lost mount is
/// right in any case. Every watch is refused where the kernel knows no such marks, and on file
/// systems without handles or without an id of their own.
class FanotifySource final : public ChangeSource {
public:
    /// `budget` as for InotifySource, of marks.
    explicit FanotifySource(std::function<int()> budget = halfOfWhatTheUserMayHave);
    ~FanotifySource() override;
    FanotifySource(const FanotifySource &) = delete;
    FanotifySource &operator=(const FanotifySource &) = delete;

    /// Names and contents alike, whatever the interest.
    int watch(int folderDescriptor, Interest interest) override;
    void unwatch(int watch) override;
    int descriptor() const override { return _descriptor; }
    std::vector<Change> read() override;

    /// The number of a folder that is watched, else noWatch.
    int find(int folderDescriptor);
    /// Half of what the user's other programs leave of max_user_marks, as it stands now.
    static int halfOfWhatTheUserMayHave();

private:
    /// A folder by file system and handle, mixed into one number. That two folders share one is
    /// next to impossible, and would cost a change seen late.
    using Key = std::uint64_t;
    struct Watched {
        Key key = 0;
        std::string path;  // when it was last watched: the only way to take the mark back
    };

    static std::optional<Key> keyOf(int folderDescriptor);
    bool takesOneMore();
    void forget(Key key);
    void append(const char *event, std::vector<Change> &changes);

    int _descriptor = -1;

    std::mutex _mutex;  // guards what follows
    WatchAllowance _allowance;
    // The kernel's marks: those that follow, and those of folders that could not be found again
    // when they were given back.
    std::size_t _held = 0;
    std::size_t _lost = 0;  // of these, the ones that were not found again
    int _last = 0;
    std::unordered_map<Key, int> _numbers;
    std::unordered_map<int, Watched> _watched;
};

}  // namespace vellumhound::index
