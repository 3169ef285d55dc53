// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/FileSearchView.h"

#include "core/PathSearch.h"
#include "preview/PreviewKeys.h"
#include "store/RecentSearches.h"

#include <utility>

namespace vellumhound::screens {

using core::ResultType;
using keyboard::FocusArea;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;
namespace KeyCode = base::KeyCode;

namespace {

struct Face {
    QString symbol;
    QString placeholder;
};

Face faceOf(ResultType type)
{
    switch (type) {
    case ResultType::search:
        return {u"magnifyingglass"_s, u"Search Files or Folders"_s};
    case ResultType::favorites:
        return {u"star.fill"_s, u"Favorites"_s};
    case ResultType::selectedFilesFromFinder:
        return {u"macwindow.and.cursorarrow"_s, u"Selected Files from Finder"_s};
    case ResultType::browseFinderWindows:
        return {u"macwindow.on.rectangle.rtl"_s, u"Finder Windows"_s};
    }
    Q_UNREACHABLE();
}

}  // namespace

SearchRowDescription describeSearchRow(const SearchRowState &state)
{
    const auto face = faceOf(state.resultType);
    SearchRowDescription description;
    description.leading =
        state.isAtRoot ? SearchRowLeading::resultTypeSymbol : SearchRowLeading::backButton;
    description.leadingSymbol = state.isAtRoot ? face.symbol : u"arrowshape.backward.fill"_s;
    description.placeholder = face.placeholder;
    if (state.status == core::SearchStatus::searching())
        description.trailing = SearchRowTrailing::spinner;
    else if (state.hasActiveContent)
        description.trailing = SearchRowTrailing::clearButton;
    return description;
}

FileSearchView::FileSearchView(const Environment &environment, QObject *parent)
    : QObject(parent)
    , _environment(environment)
    , _modifier(environment.keyboardMonitor, *this)
{
    connect(&_environment.model, &core::FileBrowserModel::searchTextChanged, this,
        &FileSearchView::followText);
    connect(&_environment.focus, &keyboard::FocusState::areaChanged, this,
        &FileSearchView::followFocus);
}

QString FileSearchView::id() const
{
    return u"FileSearchView"_s;
}

SearchRowDescription FileSearchView::description() const
{
    const auto &model = _environment.model;
    return describeSearchRow({.resultType = model.resultType(),
        .status = model.searchStatus(),
        .isAtRoot = model.root(),
        .hasActiveContent = model.hasActiveContent()});
}

void FileSearchView::appear()
{
    if (std::exchange(_isShown, true))
        return;
    buildPipeline();
    followFocus();
}

void FileSearchView::disappear()
{
    if (!std::exchange(_isShown, false))
        return;
    _modifier.disappear();
    _environment.focus.areaLeft(FocusArea::search);
}

void FileSearchView::clear()
{
    auto &searchTask = _environment.fileSearchService.searchTask;
    if (searchTask)
        searchTask->cancel();
    searchTask.reset();
    _environment.model.reset(core::ClearText::yes, core::SearchStatus::noResults());
    buildPipeline();
}

void FileSearchView::buildPipeline()
{
    _debounce.reset();
}

void FileSearchView::followText()
{
    // A text that came into the box from elsewhere takes the place of one that waits.
    _debounce.reset();
    if (_environment.focus.area() == FocusArea::search)
        _debounce = _environment.timer.after(debounceTime, [this] { pauseEnded(); });
}

void FileSearchView::pauseEnded()
{
    const auto &boxText = _environment.model.searchText();
    const auto text = boxText.trimmed();
    if (text.isEmpty()) {
        _environment.model.reset(core::ClearText::yes, core::SearchStatus::noResults());
        return;
    }
    // With blanks around it the text is not searched, so what runs or stands there stays.
    if (text != boxText)
        return;
    auto &service = _environment.fileSearchService;
    if (service.searchTask)
        service.searchTask->cancel();
    service.searchTask = service.performSearch(
        text, _environment.model, [] {}, [] {});
}

void FileSearchView::followFocus()
{
    const auto area = _environment.focus.area();
    _modifier.setFocused(_isShown && area == FocusArea::search);
    // In the palette the same area is the list of actions: moving there uses no search.
    const bool isNewArea = std::exchange(_lastArea, area) != area;
    if (_isShown && isNewArea && area == FocusArea::results)
        recordCurrentSearch();
}

void FileSearchView::recordCurrentSearch()
{
    const auto text = _environment.model.searchText().trimmed();
    if (text.isEmpty())
        return;
    store::recordSearch(
        text, _environment.moc, _environment.settings.searchHistoryCount(), _environment.clock);
}

std::optional<base::KeyEvent> FileSearchView::handleKeyEvent(const base::KeyEvent &event)
{
    const bool isTaken =
        preview::handlePreviewKeyInTextField(event, _environment.model.selectedFile(),
            _environment.appDelegate.previewPanelManager()) ||
        handleFileKey(event) || handleNavigationKey(event);
    return isTaken ? std::nullopt : std::optional(event);
}

bool FileSearchView::handleFileKey(const base::KeyEvent &event)
{
    const auto file = _environment.model.selectedFile();
    if (!file || !event.isReturn())
        return false;
    if (event.modifiers() == 0)
        _environment.workspace.openURL(file->path);
    else if (event.modifiers() == Flags::command)
        file->revealInFinder(_environment.workspace);
    else
        return false;
    return true;
}

bool FileSearchView::handleNavigationKey(const base::KeyEvent &event)
{
    auto &model = _environment.model;
    const auto modifiers = event.modifiers();
    if (event.keyCode == KeyCode::tab && modifiers == Flags::shift) {
        const auto parent = core::parentSearchPath(model.searchText());
        if (!parent)
            return false;
        model.setSearchText(*parent);
        return true;
    }
    if (modifiers != 0)
        return false;
    switch (event.keyCode) {
    case KeyCode::tab: {
        const auto file = model.selectedFile();
        if (!file || !model.searchStatus().isResults())
            return false;
        model.setSearchText(file->displayPath());
        return true;
    }
    case KeyCode::down:
        _environment.focus.setArea(FocusArea::results);
        return true;
    case KeyCode::up:
        _environment.notificationCenter.post(
            QString::fromUtf16(base::Notifications::SearchBoxArrowUpKeyEvent));
        return true;
    default:
        return false;
    }
}

}  // namespace vellumhound::screens
