// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/FileSorting.h"

#include "base/StandardCompare.h"

#include <algorithm>
#include <vector>

namespace vellumhound::core {

namespace {

bool isFolder(const FilePtr &file)
{
    return file->isDirectory;
}

/// A row prepared for the comparison by kind.
struct Kind {
    QCollatorSortKey name;
    QString type;
    bool hasType = false;
    bool isDirectory = false;
    qsizetype place = 0;
};

bool isBefore(const Kind &a, const Kind &b)
{
    if (a.isDirectory != b.isDirectory)
        return a.isDirectory;
    if (a.hasType && b.hasType && a.type != b.type)
        return a.type < b.type;
    return a.name.compare(b.name) < 0;
}

/// Merges the halves of `rows` that meet at `middle`.
void merge(std::vector<Kind> &rows, std::size_t first, std::size_t middle, std::size_t end,
    std::vector<Kind> &spare)
{
    spare.clear();
    auto left = first;
    auto right = middle;
    while (left < middle && right < end) {
        auto &next = isBefore(rows[right], rows[left]) ? rows[right++] : rows[left++];
        spare.push_back(std::move(next));
    }
    const auto at = [&](std::size_t i) { return rows.begin() + std::ptrdiff_t(i); };
    std::move(at(left), at(middle), std::back_inserter(spare));
    std::move(at(right), at(end), std::back_inserter(spare));
    std::move(spare.begin(), spare.end(), at(first));
}

/// The comparison is not transitive where a type is absent, which the standard sorts do not allow;
/// a merge sort ends in an order that follows from the rows alone, whatever it answers.
void mergeSort(std::vector<Kind> &rows)
{
    std::vector<Kind> spare;
    spare.reserve(rows.size());
    for (std::size_t width = 1; width < rows.size(); width *= 2) {
        for (std::size_t first = 0; first + width < rows.size(); first += 2 * width)
            merge(rows, first, first + width, std::min(rows.size(), first + 2 * width), spare);
    }
}

}  // namespace

FileList sortedFoldersFirst(FileList files)
{
    std::stable_partition(files.begin(), files.end(), isFolder);
    return files;
}

FileList sortedByName(FileList files)
{
    base::StandardCompare().sort(
        files, [](const FilePtr &file) -> const QString & { return file->fileName; });
    return files;
}

FileList sortedByKind(FileList files)
{
    const base::StandardCompare names;
    std::vector<Kind> rows;
    rows.reserve(std::size_t(files.size()));
    for (qsizetype i = 0; i < files.size(); ++i) {
        const auto &file = *files.at(i);
        const auto type = file.contentType ? file.contentType->description() : QString();
        rows.push_back({names.sortKey(file.fileName), type, file.contentType.has_value(),
            file.isDirectory, i});
    }
    mergeSort(rows);
    FileList sorted;
    sorted.reserve(files.size());
    for (const auto &row : rows)
        sorted.append(files.at(row.place));
    return sorted;
}

FileList sortedContents(FileList files, settings::SortOption option)
{
    switch (option) {
    case settings::SortOption::name:
        return sortedByName(std::move(files));
    case settings::SortOption::kind:
        return sortedByKind(std::move(files));
    case settings::SortOption::relevance:
    case settings::SortOption::foldersFirst:
        break;
    }
    return files;
}

}  // namespace vellumhound::core
