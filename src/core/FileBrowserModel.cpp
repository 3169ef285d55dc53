// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/FileBrowserModel.h"

#include "base/Background.h"
#include "base/MainQueue.h"
#include "core/FileListing.h"
#include "core/FileSorting.h"

#include <algorithm>
#include <utility>

namespace vellumhound::core {

/// The properties that differ, in the order in which they are announced.
enum FileBrowserModel::Change : unsigned {
    searchTextChange = 1U << 0U,
    currentSearchedTextChange = 1U << 1U,
    searchStatusChange = 1U << 2U,
    resultsChange = 1U << 3U,
    resultTypeChange = 1U << 4U,
    filesChange = 1U << 5U,
    detailsChange = 1U << 6U,
    selectedFileChange = 1U << 7U,
    selectedDetailChange = 1U << 8U,
    rootChange = 1U << 9U,
    showActionsChange = 1U << 10U,
    selectSearchTextChange = 1U << 11U,
    favoritesChange = 1U << 12U,
};

struct FileBrowserModel::Announcement {
    Change change;
    void (FileBrowserModel::*signal)();
};

FileBrowserModel::FileBrowserModel(Environment environment, QObject *parent)
    : QObject(parent)
    , _environment(std::move(environment))
    , _searchSettings(
          settings::settingsStorage<settings::SearchSettingsData>(_environment.defaults))
    , _fileSystemSettings(
          settings::settingsStorage<settings::FileSystemSettingsData>(_environment.defaults))
{
    loadFavorites();
}

FileBrowserModel::~FileBrowserModel()
{
    releaseTrees({});
}

void FileBrowserModel::setSearchText(const QString &text)
{
    assign(_searchText, text, searchTextChange);
    announce();
}

void FileBrowserModel::setSearchStatus(SearchStatus status)
{
    assign(_searchStatus, status, searchStatusChange);
    announce();
}

void FileBrowserModel::setSelectedFile(const FilePtr &file)
{
    select(file);
    announce();
}

void FileBrowserModel::setSelectedDetail(const FilePtr &detail)
{
    choose(detail);
    announce();
}

void FileBrowserModel::setShowActions(bool isShown)
{
    assign(_showActions, isShown, showActionsChange);
    announce();
}

void FileBrowserModel::setSelectSearchText(bool isSelected)
{
    assign(_selectSearchText, isSelected, selectSearchTextChange);
    announce();
}

void FileBrowserModel::showFiles(const FileList &list, ResultType type)
{
    assign(_currentSearchedText, _searchText, currentSearchedTextChange);
    assign(_searchStatus, SearchStatus::results(list.size()), searchStatusChange);
    assignResults(sortsFoldersFirst() ? sortedFoldersFirst(list) : list);
    assign(_resultType, type, resultTypeChange);
    assignFiles(_results);
    assign(_details, {}, detailsChange);
    select(_files.isEmpty() ? nullptr : _files.first());
    choose(nullptr);
    assign(_root, true, rootChange);
    assign(_showActions, false, showActionsChange);
    announce();
}

void FileBrowserModel::appendFiles(const FileList &list)
{
    auto merged = _results + list;
    QList<Range> ranges{{_results.size(), list.size()}};
    bool isGrowth = _files == _results;
    if (sortsFoldersFirst()) {
        // Folders of the batch go behind those that stand already, its files to the end.
        const auto isFolder = [](const FilePtr &file) { return file->isDirectory; };
        const auto oldFolders = std::count_if(_results.begin(), _results.end(), isFolder);
        const auto newFolders = std::count_if(list.begin(), list.end(), isFolder);
        isGrowth = isGrowth && isSortedFoldersFirst(_results);
        merged = sortedFoldersFirst(merged);
        ranges = {
            {oldFolders, newFolders}, {_results.size() + newFolders, list.size() - newFolders}};
    }
    ranges.removeIf([](const Range &range) { return range.count == 0; });
    assign(_results, merged, resultsChange);
    assignFiles(_results, isGrowth ? ranges : QList<Range>());
    select(_files.isEmpty() ? nullptr : _files.first());
    announce();
}

void FileBrowserModel::reset(bool clearText, SearchStatus status)
{
    if (clearText) {
        assign(_searchText, {}, searchTextChange);
        assign(_currentSearchedText, {}, currentSearchedTextChange);
    }
    assign(_searchStatus, status, searchStatusChange);
    assignResults({});
    assign(_resultType, ResultType::search, resultTypeChange);
    assignFiles({});
    assign(_details, {}, detailsChange);
    select(nullptr);
    choose(nullptr);
    assign(_root, true, rootChange);
    assign(_showActions, false, showActionsChange);
    announce();
}

bool FileBrowserModel::hasActiveContent() const
{
    return _searchStatus.isResults() || !_searchText.isEmpty() || !_files.isEmpty();
}

void FileBrowserModel::moveIntoFolder()
{
    if (!_details.isEmpty())
        setSelectedDetail(_details.first());
}

void FileBrowserModel::goBack()
{
    if (!_selectedFile || !_selectedFile->_parent) {
        reset(true, SearchStatus::noResults());
        return;
    }
    const auto folder = _selectedFile->_parent;
    if (const auto grandparent = folder->_parent) {
        assignFiles(sortedContents(grandparent->_children, sortContents()));
        assign(_searchText, grandparent->displayPath(), searchTextChange);
        assign(_root, false, rootChange);
    } else {
        assignFiles(_results);
        assign(_searchText, _currentSearchedText, searchTextChange);
        assign(_root, true, rootChange);
    }
    select(folder);
    announce();
}

void FileBrowserModel::selectNext()
{
    step(1);
}

void FileBrowserModel::selectPrevious()
{
    step(-1);
}

void FileBrowserModel::step(int by)
{
    const auto row = _selectedFile ? _files.indexOf(_selectedFile) : -1;
    if (row >= 0)
        setSelectedFile(_files.at(std::clamp<qsizetype>(row + by, 0, _files.size() - 1)));
}

bool FileBrowserModel::isConsistent() const
{
    const bool hasCount = _searchStatus.isResults() || _searchStatus.count == 0;
    const bool hasRows = !_root || _files == _results;
    const bool hasSelection = !_selectedFile || _files.contains(_selectedFile);
    const bool hasDetail = !_selectedDetail || _details.contains(_selectedDetail);
    const bool hasAnnouncedAll = _changes == 0;
    return hasCount && hasRows && hasSelection && hasDetail && hasAnnouncedAll;
}

template <class T>
void FileBrowserModel::assign(T &field, const std::type_identity_t<T> &value, Change change)
{
    if (field == value)
        return;
    field = value;
    _changes |= change;
}

/// With `insertedRanges`, the change is the appearance of these rows; without, another list.
void FileBrowserModel::assignFiles(const FileList &files, const QList<Range> &insertedRanges)
{
    if (_files == files)
        return;
    _files = files;
    _insertedRanges = insertedRanges;
    ++_filesRevision;
    _changes |= filesChange;
}

void FileBrowserModel::assignResults(const FileList &list)
{
    releaseTrees(list);
    assign(_results, list, resultsChange);
}

void FileBrowserModel::assignFavorites(const QList<FavoritePtr> &favorites)
{
    assign(_favorites, favorites, favoritesChange);
}

void FileBrowserModel::select(const FilePtr &file)
{
    assign(_selectedFile, file, selectedFileChange);
    const auto generation = ++_selectionGeneration;
    if (!file)
        return;
    _environment.mainQueue.post([this, alive = std::weak_ptr(_alive), file, generation] {
        if (!alive.expired() && generation == _selectionGeneration)
            loadDetails(file);
    });
}

void FileBrowserModel::choose(const FilePtr &detail)
{
    assign(_selectedDetail, detail, selectedDetailChange);
    if (!detail)
        return;
    _environment.mainQueue.post([this, alive = std::weak_ptr(_alive), detail] {
        if (!alive.expired() && detail == _selectedDetail)
            enterDetail(detail);
    });
}

void FileBrowserModel::loadDetails(const FilePtr &file)
{
    if (!file->isDirectory) {
        takeDetails(file, {});
        return;
    }
    const auto list = [fileSystem = _environment.fileSystem, file, order = sortContents()] {
        const auto children = listDirectory(*fileSystem, file->path, file);
        return Listing{children, sortedContents(children, order), order};
    };
    const auto take = [this, alive = std::weak_ptr(_alive), file,
                          generation = _selectionGeneration](const Listing &listing) {
        if (!alive.expired() && generation == _selectionGeneration)
            takeDetails(file, listing);
    };
    if (!_environment.background.runWaiting<Listing>(listingPatience, list, take)) {
        // What stands there belongs to another folder: nobody may go down into it from here.
        assign(_details, {}, detailsChange);
        choose(nullptr);
        announce();
    }
}

void FileBrowserModel::takeDetails(const FilePtr &file, const Listing &listing)
{
    // The records of an earlier listing drop out of the tree, with what was loaded below them.
    releaseChildren(file);
    file->_children = listing.children;
    if (!file->_children.isEmpty())
        _loadedTrees.insert(topmostFolder(file));
    assign(_details, listing.sorted, detailsChange);
    _detailsOrder = listing.order;
    choose(nullptr);
    announce();
}

void FileBrowserModel::enterDetail(const FilePtr &detail)
{
    const auto order = sortContents();
    assignFiles(order == _detailsOrder ? _details : sortedContents(_details, order));
    select(detail);
    if (const auto parent = detail->_parent) {
        assign(_searchText, parent->displayPath(), searchTextChange);
        assign(_root, false, rootChange);
    } else {
        assign(_searchText, _currentSearchedText, searchTextChange);
        assign(_root, true, rootChange);
    }
    announce();
}

/// Parts the loaded trees from which no record is among `keptFiles`.
void FileBrowserModel::releaseTrees(const FileList &keptFiles)
{
    std::unordered_set<FilePtr> kept;
    for (const auto &file : keptFiles) {
        const auto top = topmostFolder(file);
        if (_loadedTrees.count(top) > 0)
            kept.insert(top);
    }
    for (const auto &top : _loadedTrees) {
        if (kept.count(top) == 0)
            releaseTree(top);
    }
    _loadedTrees = std::move(kept);
}

settings::SortOption FileBrowserModel::sortContents() const
{
    return _fileSystemSettings.wrappedValue().sortContents;
}

bool FileBrowserModel::sortsFoldersFirst() const
{
    return _searchSettings.wrappedValue().sortResults == settings::SortOption::foldersFirst;
}

void FileBrowserModel::announce()
{
    static constexpr Announcement announcements[] = {
        {searchTextChange, &FileBrowserModel::searchTextChanged},
        {currentSearchedTextChange, &FileBrowserModel::currentSearchedTextChanged},
        {searchStatusChange, &FileBrowserModel::searchStatusChanged},
        {resultsChange, &FileBrowserModel::resultsChanged},
        {resultTypeChange, &FileBrowserModel::resultTypeChanged},
        {filesChange, &FileBrowserModel::filesChanged},
        {detailsChange, &FileBrowserModel::detailsChanged},
        {selectedFileChange, &FileBrowserModel::selectedFileChanged},
        {selectedDetailChange, &FileBrowserModel::selectedDetailChanged},
        {rootChange, &FileBrowserModel::rootChanged},
        {showActionsChange, &FileBrowserModel::showActionsChanged},
        {selectSearchTextChange, &FileBrowserModel::selectSearchTextChanged},
        {favoritesChange, &FileBrowserModel::favoritesChanged},
    };
    const auto changes = std::exchange(_changes, 0U);
    if (changes & filesChange)
        announceRows();
    for (const auto &[change, signal] : announcements) {
        if (changes & change)
            Q_EMIT(this->*signal)();
    }
}

/// Before everything else, so that a list holds its rows when it hears of the selection.
void FileBrowserModel::announceRows()
{
    const auto ranges = std::exchange(_insertedRanges, {});
    if (ranges.isEmpty())
        Q_EMIT filesReplaced();
    const auto revision = _filesRevision;
    for (const auto &range : ranges) {
        if (revision == _filesRevision)  // else a slot has changed the rows, which told all of them
            Q_EMIT filesInserted(range.first, range.count);
    }
}

}  // namespace vellumhound::core
