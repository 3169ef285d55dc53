// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/InotifySource.h"
#include "index/IndexItem.h"
#include "index/live/LiveIndex.h"

#include <QSemaphore>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vellumhound::tests {

using namespace vellumhound::index;
using namespace std::chrono_literals;

/// An index stepped by hand; only the readers of slow mounts have threads.
struct SlowBench {
    explicit SlowBench(std::function<std::vector<Mount>()> mounts = readMounts,
        DesktopEntries desktopEntries = {{}, {}, {}}, const std::string &cache = {},
        LiveIndexOptions options = {})
    {
        options.snapshot.folder = cache;
        options.readMounts = std::move(mounts);
        options.now = [this] { return clock; };
        live = std::make_unique<LiveIndex>(
            worker, source, published, std::move(desktopEntries), options);
    }
    void include(const std::vector<QString> &paths) const
    {
        std::vector<Rule> rules;
        for (const auto &path : paths)
            rules.push_back({path, true});
        live->setRules(rules);
    }
    void settle()
    {
        while (worker.step() || live->step()) {
        }
    }
    /// Sleeps only for what a reader's thread has to say.
    template <class Condition> bool await(Condition condition)
    {
        for (settle(); !condition(); settle()) {
            if (!wakings.tryAcquire(1, 60'000))
                return false;
        }
        return true;
    }
    bool isCrawled(const std::string &root) const
    {
        for (const auto &known : published.current()->roots) {
            if (known.path == root)
                return known.isCrawled;
        }
        return false;
    }
    RecordId find(const std::string &path) const
    {
        const auto view = published.current();
        const auto folder = view->findFolder(path.substr(0, path.rfind('/')));
        return folder == nothing ? nothing : view->find(folder, path.substr(path.rfind('/') + 1));
    }
    std::shared_ptr<const IndexItem> item(const std::string &path) const
    {
        const auto record = find(path);
        return record == nothing ? nullptr : readItem(*published.current(), record);
    }

    QSemaphore wakings;
    Worker worker{[this] { wakings.release(); }};
    InotifySource source{[] { return 100'000; }};
    PublishedView published;
    std::chrono::steady_clock::time_point clock{1h};
    std::unique_ptr<LiveIndex> live;
};

/// A machine with one share.
inline std::vector<Mount> withSlowMount(const std::string &point)
{
    return {{"/", "/", "8:1", "ext4"}, {point, "/", "0:50", "fuse.sshfs"}};
}

}  // namespace vellumhound::tests
