// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/MountReaders.h"

#include "index/disk/Logging.h"

#include <iterator>
#include <utility>

namespace vellumhound::index {

MountReaders::MountReaders(std::function<void()> wakeOwner, std::chrono::milliseconds limit)
    : _wakeOwner(std::move(wakeOwner))
    , _limit(limit)
{
}

void MountReaders::assign(const std::vector<Mount> &mounts, const std::vector<IndexRoot> &roots)
{
    _slowMounts.clear();
    for (const auto &mount : mounts) {
        if (mount.mayHang())
            _slowMounts.push_back(mount);
    }
    _readerOf.assign(roots.size(), nullptr);
    for (std::uint32_t root = 0; root < roots.size(); ++root) {
        const auto resolved = resolvePath(_slowMounts, roots[root].path);
        if (!resolved.hangs)
            continue;
        auto &reader = _readers[resolved.hangs->point];
        if (!reader)
            reader = std::make_unique<MountReader>(resolved.hangs->point, _wakeOwner, _limit);
        _readerOf[root] = reader.get();
    }
}

MountReader *MountReaders::readerOf(std::uint32_t root) const
{
    return root < _readerOf.size() ? _readerOf[root] : nullptr;
}

std::vector<Worker::Completion> MountReaders::takeDone(Clock::time_point now)
{
    std::vector<Worker::Completion> all;
    for (const auto &[point, reader] : _readers) {
        auto done = reader->takeDone(now);
        all.insert(
            all.end(), std::make_move_iterator(done.begin()), std::make_move_iterator(done.end()));
    }
    return all;
}

std::optional<MountReaders::Clock::time_point> MountReaders::due() const
{
    std::optional<Clock::time_point> first;
    for (const auto &[point, reader] : _readers) {
        const auto due = reader->due();
        if (due && (!first || *due < *first))
            first = due;
    }
    return first;
}

std::vector<const MountReader *> MountReaders::giveUpHung(Clock::time_point now)
{
    std::vector<const MountReader *> gaveUp;
    for (const auto &[point, reader] : _readers) {
        if (reader->giveUpIfHung(now)) {
            gaveUp.push_back(reader.get());
            if (_hung.insert(point).second) {
                qCWarning(logIndex,
                    "the file system at \"%s\" does not answer; what is known "
                    "of it stays as it is",
                    point.c_str());
            }
        } else if (_hung.contains(point) && !reader->isHung()) {
            _hung.erase(point);
            qCInfo(logIndex, "the file system at \"%s\" answers again", point.c_str());
        }
    }
    return gaveUp;
}

}  // namespace vellumhound::index
