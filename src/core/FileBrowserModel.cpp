// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/FileBrowserModel.h"

#include "base/Background.h"
#include "base/MainQueue.h"
#include "core/FileListing.h"
#include "core/FileSorting.h"
#include "core/SearchEnd.h"

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
    _isTextOfRows = false;
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
    _gatheredText.reset();
    assign(_searchStatus, SearchStatus::results(list.size()), searchStatusChange);
    assignResults(sortedResults(list));
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
    assign(_results, sortedResults(_results + list), resultsChange);
    if (_root) {
        assignFiles(_results);
        select(_files.isEmpty() ? nullptr : _files.first());
    }
    announce();
}

void FileBrowserModel::beginResults(const QString &text)
{
    const bool isWrittenForIt = !_isTextOfRows && _searchText.trimmed() == text;
    if (_root || isWrittenForIt) {
        // A box that named the rows so far names the new ones.
        if (_isTextOfRows)
            writeTextOfRows(text);
        reset(ClearText::no, SearchStatus::searching());
        _gatheredText = text;
    } else {
        assign(_currentSearchedText, text, currentSearchedTextChange);
        fillTopLevel({}, ResultType::search, SearchStatus::searching());
    }
}

void FileBrowserModel::endResults(const FileList &list, const QString &text)
{
    switch (describeSearchEnd({text, _searchText, _isTextOfRows, _root})) {
    case SearchEnd::showList:
        if (_isTextOfRows)
            writeTextOfRows(text);
        showFiles(list, ResultType::search);
        break;
    case SearchEnd::fillTopLevel:
        assign(_currentSearchedText, text, currentSearchedTextChange);
        fillTopLevel(list, ResultType::search, SearchStatus::results(list.size()));
        break;
    case SearchEnd::goHome:
        // A list that came from elsewhere after the box was emptied stays.
        if (!_searchStatus.isResults())
            reset(ClearText::yes, SearchStatus::noResults());
        break;
    case SearchEnd::leaveToTheNext:
        break;
    }
}

/// Makes `list` the top level of a user who is below it. The level on screen and its tree stay.
void FileBrowserModel::fillTopLevel(
    const FileList &list, ResultType type, const SearchStatus &status)
{
    releaseTrees(list + _files.mid(0, 1));
    assign(_searchStatus, status, searchStatusChange);
    assign(_results, sortedResults(list), resultsChange);
    assign(_resultType, type, resultTypeChange);
    announce();
}

void FileBrowserModel::reset(ClearText clearText, SearchStatus status)
{
    if (clearText == ClearText::yes) {
        assign(_searchText, {}, searchTextChange);
        assign(_currentSearchedText, {}, currentSearchedTextChange);
        _isTextOfRows = false;
    }
    _gatheredText.reset();
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
        reset(ClearText::yes, SearchStatus::noResults());
        return;
    }
    const auto folder = _selectedFile->_parent;
    if (const auto grandparent = folder->_parent) {
        assignFiles(sortedContents(grandparent->_children, sortContents()));
        writeTextOfRows(grandparent->displayPath());
        assign(_root, false, rootChange);
    } else {
        assignFiles(_results);
        writeTextOfRows(_currentSearchedText);
        assign(_root, true, rootChange);
    }
    select(rowOf(folder));
    announce();
}

/// The row of the list on screen for the folder that the user comes out of: the very record or,
/// where the top level was replaced meanwhile, the one of the same path, else the first.
FilePtr FileBrowserModel::rowOf(const FilePtr &folder) const
{
    if (_files.contains(folder))
        return folder;
    const auto found = std::find_if(_files.cbegin(), _files.cend(),
        [&](const FilePtr &file) { return file->path == folder->path; });
    return found != _files.cend() ? *found : _files.value(0);
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

void FileBrowserModel::assignFiles(const FileList &files)
{
    assign(_files, files, filesChange);
}

void FileBrowserModel::writeTextOfRows(const QString &text)
{
    assign(_searchText, text, searchTextChange);
    _isTextOfRows = true;
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
    _environment.mainQueue.post(_lifetime.guarded([this, file, generation] {
        if (generation == _selectionGeneration)
            loadDetails(file);
    }));
}

void FileBrowserModel::choose(const FilePtr &detail)
{
    assign(_selectedDetail, detail, selectedDetailChange);
    if (!detail)
        return;
    _environment.mainQueue.post(_lifetime.guarded([this, detail] {
        if (detail == _selectedDetail)
            enterDetail(detail);
    }));
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
    const auto take =
        _lifetime.guarded([this, file, generation = _selectionGeneration](const Listing &listing) {
            if (generation == _selectionGeneration)
                takeDetails(file, listing);
        });
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
    // The search goes on for the top level, whose rows bear its text from here on.
    if (const auto text = std::exchange(_gatheredText, std::nullopt))
        assign(_currentSearchedText, *text, currentSearchedTextChange);
    const auto parent = detail->_parent;
    writeTextOfRows(parent ? parent->displayPath() : _currentSearchedText);
    assign(_root, !parent, rootChange);
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

FileList FileBrowserModel::sortedResults(const FileList &list) const
{
    const bool areFoldersFirst =
        _searchSettings.wrappedValue().sortResults == settings::SortOption::foldersFirst;
    return areFoldersFirst ? sortedFoldersFirst(list) : list;
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
    for (const auto &[change, signal] : announcements) {
        if (changes & change)
            Q_EMIT(this->*signal)();
    }
}

}  // namespace vellumhound::core
