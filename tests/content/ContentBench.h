// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "content/TextFolding.h"
#include "content/TextIndex.h"
#include "content/TextSearch.h"
#include "index/TemporaryTree.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace vellumhound::tests {

/// All hits of a search, best first.
inline std::vector<content::Document> allHits(
    const content::PublishedText &published, content::TextQuery query)
{
    const std::atomic<bool> isCancelled = false;
    content::TextSearch search(published, std::move(query));
    std::vector<content::Document> hits;
    while (true) {
        const auto page = search.next(7, isCancelled, 4096);
        hits.insert(hits.end(), page.hits.begin(), page.hits.end());
        if (!page.mayHaveMore)
            return hits;
    }
}

inline std::vector<std::string> pathsOf(const std::vector<content::Document> &hits)
{
    std::vector<std::string> paths;
    for (const auto &hit : hits)
        paths.push_back(hit.path);
    return paths;
}

/// What a text index must agree with: every text folded again and looked through for each needle.
class SlowTexts {
public:
    struct Entry {
        content::Document document;
        std::string text;
        bool hasText = true;
    };

    void add(const content::Document &document, const std::string &text)
    {
        entries[document.path] = {document, content::foldNeedle(text), true};
    }
    void noteWithoutText(const content::Document &document)
    {
        entries[document.path] = {document, {}, false};
    }
    void removeBelow(const std::string &folder)
    {
        std::erase_if(
            entries, [&](const auto &entry) { return content::isAtOrBelow(entry.first, folder); });
    }
    template <class FactsOf>
    void movedBelow(const std::string &from, const std::string &to, FactsOf factsOf)
    {
        std::map<std::string, Entry> moved;
        for (const auto &[path, entry] : entries) {
            if (content::isAtOrBelow(path, from))
                moved.emplace(to + path.substr(from.size()), entry);
        }
        removeBelow(from);
        removeBelow(to);
        for (auto &[path, entry] : moved) {
            entry.document.path = path;
            entry.document.facts = factsOf(path);
            entries[path] = entry;
        }
    }

    std::vector<content::Document> hits(const std::string &typed) const
    {
        const auto needle = content::foldNeedle(typed);
        std::vector<content::Document> found;
        if (!content::isSearchable(needle))
            return found;
        for (const auto &[path, entry] : entries) {
            if (entry.hasText && entry.text.find(needle) != std::string::npos)
                found.push_back(entry.document);
        }
        std::sort(found.begin(), found.end(), [](const auto &a, const auto &b) {
            const auto key = [](const content::Document &one) {
                const auto shape = content::PathShape::of(one.path);
                return std::tuple(
                    one.facts.isNoise, -one.stamp.mtimeNs, shape.depth, shape.nameLength, one.path);
            };
            return key(a) < key(b);
        });
        return found;
    }

    std::map<std::string, Entry> entries;
};

}  // namespace vellumhound::tests
