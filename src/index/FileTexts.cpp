// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/FileTexts.h"

#include "index/disk/Paths.h"
#include "index/live/LiveIndex.h"
#include "index/live/Worker.h"
#include "index/names/Noise.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>
#include <utility>
#include <vector>

namespace vellumhound::index {

namespace {

constexpr std::int64_t second = 1'000'000'000;

/// A file and the second of its last change, as one number.
std::size_t keyOf(std::string_view path, std::int64_t changedAt)
{
    return std::hash<std::string_view>()(path) * 31 + std::hash<std::int64_t>()(changedAt);
}

content::TextIndexOptions indexOptions(const FileTexts::Options &options)
{
    auto index = options.index;
    index.folder = options.folder;
    return index;
}

/// What of `path` lies below the nearest root; absent if it is in none, or in one that may hang.
std::optional<std::string_view> belowRoot(const IndexView &view, std::string_view path)
{
    std::optional<std::string_view> nearest;
    bool mayHang = false;
    for (const auto &root : view.roots) {
        const auto below = pathBelow(path, root.path);
        if (root.folder == nothing || !below || (nearest && below->size() >= nearest->size()))
            continue;
        nearest = below;
        mayHang = root.mayHang;
    }
    return mayHang ? std::nullopt : nearest;
}

bool isInNoise(std::string_view relativePath)
{
    for (auto slash = relativePath.find('/'); slash != std::string_view::npos;
         slash = relativePath.find('/')) {
        if (isNoiseFolder(relativePath.substr(0, slash)))
            return true;
        relativePath.remove_prefix(slash + 1);
    }
    return isNoiseName(relativePath);
}

}  // namespace

class FileTexts::Source final : public content::TextSource {
public:
    explicit Source(const std::string &helperPath)
        : _extractor(settings(helperPath))
    {
    }

    content::Extracted read(const std::string &path, content::Stamp &stamp,
        const std::atomic<bool> &isCancelled) override
    {
        using Outcome = content::Extracted::Outcome;
        if (isCancelled)
            return {Outcome::tryLater, {}};
        // Whatever a pipe or a device of that name would do, opening it must not wait for it.
        const int file =
            ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
        if (file < 0)
            return {afterFailedOpen(errno), {}};
        struct stat status {};
        if (::fstat(file, &status) == 0) {
            stamp = {std::int64_t(status.st_mtim.tv_sec) * second + status.st_mtim.tv_nsec,
                status.st_size};
        }
        auto extraction = _extractor.extract(file, path.substr(path.rfind('/') + 1));
        ::close(file);
        switch (extraction.outcome) {
        case extract::Outcome::text:
            return {Outcome::text, std::move(extraction.text)};
        case extract::Outcome::cancelled:
        case extract::Outcome::unavailable:
            return {Outcome::tryLater, {}};
        case extract::Outcome::unreadable:
            return {Outcome::unreadable, {}};
        default:
            return {Outcome::noText, {}};
        }
    }

    void cancel() { _extractor.cancel(); }

private:
    static content::Extracted::Outcome afterFailedOpen(int error)
    {
        using Outcome = content::Extracted::Outcome;
        switch (error) {
        case ENOENT:
        case ENOTDIR:
        case ELOOP:  // a link has taken its place
            return Outcome::gone;
        case ENXIO:  // or a socket
        case ENODEV:
        case ENAMETOOLONG:
            return Outcome::noText;
        default:  // permissions, descriptors, memory, the disk: all of that may change
            return Outcome::unreadable;
        }
    }
    static extract::TextExtractor::Settings settings(const std::string &helperPath)
    {
        extract::TextExtractor::Settings settings;
        settings.helperPath = helperPath;
        return settings;
    }

    extract::TextExtractor _extractor;
};

FileTexts::FileTexts(const PublishedView &names, Options options)
    : _names(names)
    , _options(std::move(options))
    , _index(_published, indexOptions(_options))
    , _source(std::make_unique<Source>(_options.helperPath))
    , _indexer(_index, *_source, indexerOptions())
{
}

FileTexts::~FileTexts()
{
    stop();
}

void FileTexts::stop()
{
    _indexer.stop();
    _source->cancel();
    if (_thread.joinable())
        _thread.join();
}

content::TextIndexerOptions FileTexts::indexerOptions()
{
    auto options = _options.indexer;
    options.mayRun = _options.mayRun;
    options.factsOf = [this](const std::string &path) -> content::RankFacts {
        const auto below = belowRoot(*_names.current(), path);
        return {below && isInNoise(*below)};
    };
    return options;
}

bool FileTexts::isKept() const
{
    return ::access(_options.folder.c_str(), F_OK) == 0;
}

void FileTexts::setEnabled(bool isEnabled)
{
    if (_options.folder.empty())
        return;
    _isEnabled = isEnabled;
    if (!_thread.joinable()) {
        // Files of a session that had it on, ended before they could be deleted.
        if (!isEnabled && !isKept())
            return;
        _thread = std::thread([this] {
            lowerThreadPriority();
            _indexer.run();
        });
    }
    _indexer.setEnabled(isEnabled);
}

bool FileTexts::isWanted(const IndexView &view, std::string_view path) const
{
    const auto below = belowRoot(view, path);
    return below && !below->empty() && !hasHiddenComponent(*below) && !isInNoise(*below) &&
           extract::TextExtractor::mayHoldText(path.substr(path.rfind('/') + 1));
}

void FileTexts::noteChange(const FileChange &change)
{
    if (!_isEnabled)
        return;
    const auto view = _names.current();
    switch (change.kind) {
    case FileChange::Kind::created:
    case FileChange::Kind::written:
        if (!change.isFolder && isWanted(*view, change.path))
            _indexer.offer(change.path);
        break;
    case FileChange::Kind::removed:
        if (change.isFolder)
            _indexer.forgetBelow(change.path);
        else
            _indexer.forget(change.path);
        break;
    case FileChange::Kind::moved:
        if (!change.isFolder && !isWanted(*view, change.path)) {
            _indexer.forget(change.oldPath);
            break;
        }
        _indexer.moved(change.oldPath, change.path);
        // Another name may promise text where the old one did not.
        if (!change.isFolder)
            _indexer.offer(change.path);
        break;
    }
}

void FileTexts::keepOnlyCovered(const CrawlPlan &plan)
{
    if (_isEnabled)
        _indexer.keepOnly([plan](const std::string &path) { return plan.covers(path); });
}

void FileTexts::catchUp()
{
    if (!_isEnabled)
        return;
    const auto view = _names.current();
    std::unordered_set<std::size_t> known;
    for (const auto state = _published.current(); const auto &segment : state->segments) {
        for (content::DocumentId id = 0; id < segment.segment->documentCount(); ++id) {
            if (segment.dead->has(id))
                continue;
            const auto document = segment.documentOf(id);
            known.insert(keyOf(document.path, document.stamp.mtimeNs / second));
        }
    }
    std::vector<std::size_t> present;  // hashes of paths
    // The folder's path is made once for all that stands in it.
    FolderId folder = nothing;
    std::string folderPath;
    bool isFolderWanted = false;
    const auto offer = [&](RecordId record) {
        if (view->isDead(record) || view->traitsOf(record).kind() != EntryKind::file ||
            view->traitsOf(record).isNoise())
            return;
        const auto name = view->nameOf(record);
        if (!extract::TextExtractor::mayHoldText(name) || isNoiseName(name))
            return;
        if (const auto now = view->folderOf(record); now != folder) {
            folder = now;
            folderPath = view->pathOfFolder(folder);
            isFolderWanted = belowRoot(*view, folderPath).has_value();
        }
        auto path = joinedPath(folderPath, name);
        const auto changedAt = view->changeTimeOf(record);
        present.push_back(keyOf(path, 0));
        if (isFolderWanted && !known.contains(keyOf(path, changedAt)))
            _indexer.offerFound(std::move(path), changedAt);
    };
    for (RecordId record = 0; record < view->tail->firstRecord() && _isEnabled; ++record)
        offer(record);
    forEachRecord(*view->tail, {}, view->tail->mark(), offer);
    std::sort(present.begin(), present.end());
    _indexer.keepOnly([this, present = std::move(present)](const std::string &path) {
        const auto now = _names.current();
        // What came since this was looked up is asked of the tables.
        const bool isThere = std::binary_search(present.begin(), present.end(), keyOf(path, 0)) ||
                             now->findPath(path) != nothing;
        return isThere && isWanted(*now, path);
    });
}

}  // namespace vellumhound::index
