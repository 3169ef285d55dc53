// SPDX-License-Identifier: GPL-3.0-or-later
// long: one property after the other, each with its signal; the rules are in the sources
#pragma once

#include "base/Lifetime.h"
#include "core/File.h"
#include "core/SearchStatus.h"
#include "settings/CodableAppStorage.h"
#include "settings/SettingsRecords.h"
#include "store/ManagedObject.h"

#include <QList>
#include <QObject>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <type_traits>
#include <unordered_set>

namespace vellumhound::base {
class Background;
class MainQueue;
}  // namespace vellumhound::base
namespace vellumhound::platform {
class FileSystem;
}
namespace vellumhound::store {
class ManagedObjectContext;
}

namespace vellumhound::core {

using FavoritePtr = std::shared_ptr<store::Favorite>;

/// Whether the box loses its text together with the lists.
enum class ClearText { no, yes };

/// Everything the panel looks at: the text of the box, the status of the search, the list on screen
/// with its selection, the contents of the selected folder, the favorites. Going down a level means
/// that the right column (`details`) becomes the left one (`files`).
///
/// Main thread; owned by the root view. An operation first makes all its changes, then signals each
/// property that differs, so that a slot never sees half of a change. Folders are listed on a
/// worker: for at most 50 ms the main thread waits for it, a later answer is taken in a later turn
/// if its folder is still the selected one, and `details` are empty until then. Failures of the
/// store go to standard output and leave the model as it was.
///
/// A long header on purpose: the panel has one observable object, and its thirteen properties stand
/// here with their signals.
class FileBrowserModel final : public QObject {
    Q_OBJECT

public:
    /// What the model works with; all of it outlives the model. The file system is shared with
    /// workers that may hang in it beyond that.
    struct Environment {
        base::MainQueue &mainQueue;
        base::Background &background;
        std::shared_ptr<const platform::FileSystem> fileSystem;
        settings::UserDefaults &defaults;
        store::ManagedObjectContext &viewContext;
    };

    static constexpr std::chrono::milliseconds listingPatience{50};

    explicit FileBrowserModel(Environment environment, QObject *parent = nullptr);
    ~FileBrowserModel() override;

    /// The text of the box; below the top level the `displayPath` of the folder.
    const QString &searchText() const { return _searchText; }
    void setSearchText(const QString &text);
    /// The box is empty because a person, or reset(), has emptied it.
    bool isBoxEmptied() const { return _searchText.isEmpty() && !_isTextOfRows; }
    /// The text that the top-level list belongs to, which the box returns to.
    const QString &currentSearchedText() const { return _currentSearchedText; }
    SearchStatus searchStatus() const { return _searchStatus; }
    void setSearchStatus(SearchStatus status);
    /// The top-level list and where it comes from.
    const FileList &results() const { return _results; }
    ResultType resultType() const { return _resultType; }
    /// The left column: `results` at the top level, the contents of a folder below it.
    const FileList &files() const { return _files; }
    /// The sorted contents of the selected folder; else empty.
    const FileList &details() const { return _details; }
    /// The selected row of `files`. Each write, also of the present value, loads `details` in the
    /// next turn; a newer write before that takes its place.
    const FilePtr &selectedFile() const { return _selectedFile; }
    void setSelectedFile(const FilePtr &file);
    /// A row chosen in `details`. Each write, also of the present value, goes down to it in the
    /// next turn, unless `details` have been replaced by then.
    const FilePtr &selectedDetail() const { return _selectedDetail; }
    void setSelectedDetail(const FilePtr &detail);
    /// Whether the left column shows the top level.
    bool root() const { return _root; }
    bool showActions() const { return _showActions; }
    void setShowActions(bool isShown);
    /// Whether the box's text stays selected when it takes the focus; else the caret goes to the
    /// end.
    bool selectSearchText() const { return _selectSearchText; }
    void setSelectSearchText(bool isSelected);
    /// All favorites, highest order first.
    const QList<FavoritePtr> &favorites() const { return _favorites; }

    /// Makes `list` the top level and selects its first row.
    void showFiles(const FileList &list, ResultType type);
    /// Adds a batch to the top level and, if that is on screen, selects the first row.
    void appendFiles(const FileList &list);
    /// The rows of a search for `text` begin to come in. They take the place of the list on screen,
    /// as by reset(); below the top level they are what Left comes back to, and the level stays.
    void beginResults(const QString &text);
    /// The search for `text` has ended with `list`. Where that goes, describeSearchEnd() says.
    void endResults(const FileList &list, const QString &text);
    void reset(ClearText clearText, SearchStatus status);
    /// Whether there is anything that a clear button could clear.
    bool hasActiveContent() const;
    /// Goes down into the selected folder, onto its first entry; without entries nothing happens.
    void moveIntoFolder();
    /// Up one level, from the top level home.
    void goBack();
    /// Neither wraps; without a selected row of `files` nothing happens.
    void selectNext();
    void selectPrevious();

    void loadFavorites();
    void toggleFavorite(const FilePtr &file);
    /// Moves the favorites at `offsets` in front of the one at `destination` (the count of
    /// favorites: to the end). The offsets are those of `favorites`, not of `files`.
    void reorderFavorites(const std::set<qsizetype> &offsets, qsizetype destination);

    /// Whether the fields fit each other; holds after each operation.
    bool isConsistent() const;

Q_SIGNALS:
    void searchTextChanged();
    void currentSearchedTextChanged();
    void searchStatusChanged();
    void resultsChanged();
    void resultTypeChanged();
    void filesChanged();
    void detailsChanged();
    void selectedFileChanged();
    void selectedDetailChanged();
    void rootChanged();
    void showActionsChanged();
    void selectSearchTextChanged();
    void favoritesChanged();

private:
    enum Change : unsigned;
    struct Announcement;
    struct Listing {
        FileList children;  // as the file system gave them
        FileList sorted;
        settings::SortOption order = settings::SortOption::relevance;
    };

    template <class T> void assign(T &field, const std::type_identity_t<T> &value, Change change);
    void assignFiles(const FileList &files);
    void assignResults(const FileList &list);
    void fillTopLevel(const FileList &list, ResultType type, const SearchStatus &status);
    void writeTextOfRows(const QString &text);
    void assignFavorites(const QList<FavoritePtr> &favorites);
    void select(const FilePtr &file);
    void choose(const FilePtr &detail);
    void announce();
    void step(int by);

    void loadDetails(const FilePtr &file);
    void takeDetails(const FilePtr &file, const Listing &listing);
    void enterDetail(const FilePtr &detail);
    void releaseTrees(const FileList &keptFiles);
    FilePtr rowOf(const FilePtr &folder) const;
    settings::SortOption sortContents() const;
    FileList sortedResults(const FileList &list) const;

    void showFavorites();

    Environment _environment;
    settings::CodableAppStorage<settings::SearchSettingsData> _searchSettings;
    settings::CodableAppStorage<settings::FileSystemSettingsData> _fileSystemSettings;

    QString _searchText;
    QString _currentSearchedText;
    SearchStatus _searchStatus;
    FileList _results;
    ResultType _resultType = ResultType::search;
    FileList _files;
    FileList _details;
    settings::SortOption _detailsOrder = settings::SortOption::relevance;  // what sorted them
    FilePtr _selectedFile;
    FilePtr _selectedDetail;
    bool _root = true;
    bool _showActions = false;
    bool _selectSearchText = false;
    QList<FavoritePtr> _favorites;

    bool _isTextOfRows = false;  // the way through the folders wrote `searchText`, not a person
    std::optional<QString> _gatheredText;  // of the search that fills the list on screen
    unsigned _changes = 0;                 // not announced yet
    std::uint64_t _selectionGeneration = 0;
    std::uint64_t _favoritesGeneration = 0;
    std::unordered_set<FilePtr> _loadedTrees;  // topmost records whose trees hold loaded children
    base::Lifetime _lifetime;
};

}  // namespace vellumhound::core
