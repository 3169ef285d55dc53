// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "content/TextIndexer.h"
#include "extract/TextExtractor.h"
#include "index/live/CrawlPlan.h"
#include "index/names/IndexView.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace vellumhound::index {

struct FileChange;

/// What stands in files, as the search for text has it: decides which entries of the index are
/// worth reading and keeps the text index equal to them. Switched off it has no thread, no memory
/// and no file.
///
/// Files in noise, names that promise no text or a secret, and file systems that may hang are left
/// out. Owned
/// by the index, which outlives it by its published view.
class FileTexts {
public:
    struct Options {
        std::string folder;  ///< for the text index alone; empty: text is never kept
        std::string helperPath = extract::pathOfHelper();
        /// Whether the machine can spare background work; called on a thread of its own.
        std::function<bool()> mayRun = [] { return true; };
        content::TextIndexOptions index;      ///< but for the folder
        content::TextIndexerOptions indexer;  ///< but for mayRun and factsOf
    };

    FileTexts(const PublishedView &names, Options options);
    ~FileTexts();
    FileTexts(const FileTexts &) = delete;
    FileTexts &operator=(const FileTexts &) = delete;

    /// Off deletes what is kept. One thread.
    void setEnabled(bool isEnabled);
    bool isEnabled() const { return _isEnabled; }
    /// What happened to an entry of the index. Any thread.
    void noteChange(const FileChange &change);
    /// Compares with all entries of the index, which are complete by now: reads what is new or was
    /// changed, forgets what is gone. Takes a while; any one thread.
    void catchUp();
    /// Forgets at once what the crawl of a plan does not come to; its texts leave the disk soon.
    void keepOnlyCovered(const CrawlPlan &plan);
    /// Nothing is read from now on, and none of the options' functions is called. For good.
    void stop();
    /// Background work may have become possible again.
    void wake() { _indexer.wake(); }

    const content::PublishedText &published() const { return _published; }
    content::TextStatus status() const { return _indexer.status(); }

private:
    /// Hands files to the helper.
    class Source;

    bool isWanted(const IndexView &view, std::string_view path) const;
    bool isKept() const;
    content::TextIndexerOptions indexerOptions();

    const PublishedView &_names;
    const Options _options;
    content::PublishedText _published;
    content::TextIndex _index;
    std::unique_ptr<Source> _source;
    content::TextIndexer _indexer;
    std::atomic<bool> _isEnabled = false;
    std::thread _thread;  // from the first time that there is something to do
};

}  // namespace vellumhound::index
