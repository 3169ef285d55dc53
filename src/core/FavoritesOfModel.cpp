// SPDX-License-Identifier: GPL-3.0-or-later
// What the browser model does with the favorites of the store.
#include "base/Background.h"
#include "base/FailureLine.h"
#include "core/FileBrowserModel.h"
#include "core/FileListing.h"
#include "store/ManagedObjectContext.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::core {

namespace {

/// The first gets the highest order, the last 0.
void numberDensely(const QList<FavoritePtr> &favorites)
{
    auto order = qint32(favorites.size());
    for (const auto &favorite : favorites)
        favorite->order = --order;
}

/// `list` with the entries at `offsets` in front of the one that stands at `destination` now.
QList<FavoritePtr> moved(
    const QList<FavoritePtr> &list, const std::set<qsizetype> &offsets, qsizetype destination)
{
    QList<FavoritePtr> before;
    QList<FavoritePtr> chosen;
    QList<FavoritePtr> behind;
    for (qsizetype i = 0; i < list.size(); ++i) {
        auto &part = offsets.count(i) > 0 ? chosen : i < destination ? before : behind;
        part.append(list.at(i));
    }
    return before + chosen + behind;
}

}  // namespace

void FileBrowserModel::loadFavorites()
{
    store::FetchRequest<store::Favorite> request;
    request.sortedBy(&store::Favorite::order, store::SortDirection::descending);
    const auto fetched = _environment.viewContext.fetch(request);
    if (!fetched) {
        base::printFailure(u"Error fetching favorites: "_s + fetched.error().description);
        return;
    }
    assignFavorites(fetched.value());
    if (_resultType == ResultType::favorites)
        showFavorites();
    announce();
}

/// Shows a row for each favorite whose file is there. The disks are asked on a worker, as a
/// favorite may lie on one that hangs; an answer that comes late counts while the list is still
/// theirs, and leaves a user who has gone down into one where they are.
void FileBrowserModel::showFavorites()
{
    QStringList paths;
    for (const auto &favorite : _favorites) {
        if (favorite->path)
            paths.append(*favorite->path);
    }
    const auto make = [fileSystem = _environment.fileSystem, paths] {
        FileList files;
        for (const auto &path : paths) {
            if (const auto file = makeFile(*fileSystem, path, nullptr))
                files.append(file);
        }
        return files;
    };
    const auto isLate = std::make_shared<bool>(false);
    const auto answer = [this, generation = ++_favoritesGeneration, isLate](const FileList &files) {
        if (generation != _favoritesGeneration || _resultType != ResultType::favorites)
            return;
        if (*isLate && !_root)
            fillTopLevel(files, ResultType::favorites, SearchStatus::results(files.size()));
        else
            showFiles(files, ResultType::favorites);
    };
    *isLate = !_environment.background.runWaiting<FileList>(
        listingPatience, make, _lifetime.guarded(answer));
}

void FileBrowserModel::toggleFavorite(const FilePtr &file)
{
    auto &context = _environment.viewContext;
    const auto found = std::find_if(_favorites.cbegin(), _favorites.cend(),
        [&](const auto &favorite) { return favorite->path == file->path; });
    if (found != _favorites.cend()) {
        context.remove(*found);
        auto remaining = _favorites;
        remaining.removeAt(found - _favorites.cbegin());
        numberDensely(remaining);
    } else {
        const auto favorite = context.insert<store::Favorite>();
        favorite->path = file->path;
        favorite->type = file->isDirectory ? u"folder"_s : u"file"_s;
        favorite->order = qint32(_favorites.size());
    }
    if (const auto outcome = context.save(); !outcome) {
        base::printFailure(u"Error toggling favorite: "_s + outcome.error().description);
        return;
    }
    loadFavorites();
}

void FileBrowserModel::reorderFavorites(const std::set<qsizetype> &offsets, qsizetype destination)
{
    numberDensely(moved(_favorites, offsets, destination));
    if (const auto outcome = _environment.viewContext.save(); !outcome) {
        base::printFailure(u"Error reordering favorites: "_s + outcome.error().description);
        return;
    }
    loadFavorites();
}

}  // namespace vellumhound::core
