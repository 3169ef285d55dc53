// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/FileBrowserView.h"

#include "preview/PreviewKeys.h"

namespace vellumhound::screens {

using core::ResultType;
using keyboard::FocusArea;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;
namespace KeyCode = base::KeyCode;

namespace {

/// A letter or decimal digit of any script, also one outside the basic plane. Raised digits and
/// fractions are neither.
bool beginsWithLetterOrDigit(const QString &characters)
{
    if (characters.isEmpty())
        return false;
    char32_t first = characters[0].unicode();
    if (characters[0].isHighSurrogate() && characters.size() > 1)
        first = QChar::surrogateToUcs4(characters[0], characters[1]);
    return QChar::isLetter(first) || QChar::isDigit(first);
}

}  // namespace

BrowserDescription describeBrowser(const BrowserState &state)
{
    BrowserDescription description;
    description.leftRows = state.isAtRoot ? RowStyle::withPath : RowStyle::simple;
    description.canMoveRows = state.resultType == ResultType::favorites;
    if (state.isSelectionDirectory)
        description.right =
            *state.isSelectionDirectory ? DetailKind::folderContents : DetailKind::fileDetails;
    return description;
}

FileBrowserView::FileBrowserView(const Environment &environment, QObject *parent)
    : QObject(parent)
    , _environment(environment)
    , _modifier(environment.keyboardMonitor, *this)
{
    connect(&_environment.focus, &keyboard::FocusState::areaChanged, this,
        &FileBrowserView::followFocus);
    connect(&_environment.model, &core::FileBrowserModel::selectedFileChanged, this, [this] {
        if (!_environment.model.selectedFile())
            return;
        _environment.queue.post(_lifetime.guarded([this] { Q_EMIT scrollToSelectionRequested(); }));
    });
}

QString FileBrowserView::id() const
{
    return u"FileBrowserView"_s;
}

BrowserDescription FileBrowserView::description() const
{
    const auto &model = _environment.model;
    BrowserState state{.isAtRoot = model.root(),
        .resultType = model.resultType(),
        .isSelectionDirectory = std::nullopt};
    if (const auto file = model.selectedFile())
        state.isSelectionDirectory = file->isDirectory;
    return describeBrowser(state);
}

bool FileBrowserView::isFirstSelected() const
{
    const auto &files = _environment.model.files();
    const auto selected = _environment.model.selectedFile();
    return !files.isEmpty() && selected && files.first() == selected;
}

void FileBrowserView::appear()
{
    if (_isShown)
        return;
    _isShown = true;
    _arrowUpObserver = _environment.notificationCenter.addObserver(
        QString::fromUtf16(base::Notifications::SearchBoxArrowUpKeyEvent), nullptr, [this] {
            if (!isFirstSelected())
                _environment.focus.setArea(FocusArea::results);
        });
    followFocus();
}

void FileBrowserView::disappear()
{
    if (!_isShown)
        return;
    _isShown = false;
    _arrowUpObserver.reset();
    _modifier.disappear();
    _environment.focus.areaLeft(FocusArea::results);
}

void FileBrowserView::followFocus()
{
    _modifier.setFocused(_isShown && _environment.focus.area() == FocusArea::results);
}

std::optional<base::KeyEvent> FileBrowserView::handleKeyEvent(const base::KeyEvent &event)
{
    auto &preview = _environment.appDelegate.previewPanelManager();
    if (preview::handlePreviewKey(event, _environment.model.selectedFile(), preview))
        return std::nullopt;
    const bool isTaken =
        preview.isVisible() ? handleVisiblePreviewKey(event) : handleListKey(event);
    if (isTaken || handleTyping(event))
        return std::nullopt;
    return event;
}

bool FileBrowserView::handleVisiblePreviewKey(const base::KeyEvent &event)
{
    if (event.modifiers() != Flags::option)
        return false;
    switch (event.keyCode) {
    case KeyCode::left:
        _environment.model.goBack();
        return true;
    case KeyCode::right:
        _environment.model.moveIntoFolder();
        return true;
    case KeyCode::down:
        _environment.model.selectNext();
        return true;
    case KeyCode::up:
        _environment.model.selectPrevious();
        return true;
    default:
        return false;
    }
}

bool FileBrowserView::handleListKey(const base::KeyEvent &event)
{
    return handleFinderWindowKey(event) || handleFileKey(event) || handleTabKey(event) ||
           handleArrowKey(event);
}

bool FileBrowserView::handleFinderWindowKey(const base::KeyEvent &event)
{
    auto &model = _environment.model;
    const auto file = model.selectedFile();
    const bool isWindowRow = file && file->isDirectory &&
                             model.resultType() == ResultType::browseFinderWindows && model.root();
    if (event.keyCode != KeyCode::w || !isWindowRow)
        return false;
    if (event.modifiers() == Flags::command)
        _environment.finderManager.closeFinderWindow(file->path);
    else if (event.modifiers() == (Flags::command | Flags::shift))
        _environment.finderManager.closeAllFinderWindows();
    else
        return false;
    model.showFiles(_environment.finderManager.getFinderWindows(), ResultType::browseFinderWindows);
    return true;
}

bool FileBrowserView::handleFileKey(const base::KeyEvent &event)
{
    const auto file = _environment.model.selectedFile();
    if (!file)
        return false;
    if (event.keyCode == KeyCode::t && event.modifiers() == (Flags::command | Flags::control)) {
        _environment.model.toggleFavorite(file);
        return true;
    }
    if (!event.isReturn())
        return false;
    if (event.modifiers() == 0)
        _environment.workspace.openURL(file->path);
    else if (event.modifiers() == Flags::command)
        file->revealInFinder(_environment.workspace);
    else
        return false;
    return true;
}

bool FileBrowserView::handleTabKey(const base::KeyEvent &event)
{
    if (event.keyCode != KeyCode::tab)
        return false;
    if (event.modifiers() != 0 && event.modifiers() != Flags::shift)
        return false;
    _environment.model.setSelectSearchText(false);
    if (event.modifiers() == 0)
        _environment.model.moveIntoFolder();
    else
        _environment.model.goBack();
    _environment.focus.setArea(FocusArea::search);
    return true;
}

bool FileBrowserView::handleArrowKey(const base::KeyEvent &event)
{
    if (event.modifiers() != 0)
        return false;
    switch (event.keyCode) {
    case KeyCode::right:
        _environment.model.moveIntoFolder();
        return true;
    case KeyCode::left:
        _environment.model.goBack();
        return true;
    case KeyCode::up:
        if (!isFirstSelected())
            return false;
        moveToSearchBox(BoxText::selected);
        return true;
    default:
        return false;
    }
}

bool FileBrowserView::handleTyping(const base::KeyEvent &event)
{
    if (event.modifiers() != 0 || !beginsWithLetterOrDigit(event.characters))
        return false;
    auto &model = _environment.model;
    auto &service = _environment.fileSearchService;
    moveToSearchBox(BoxText::caretAtEnd);
    model.setSearchText(model.searchText() + event.characters);
    if (service.searchTask)
        service.searchTask->cancel();
    service.searchTask = service.performSearch(
        model.searchText(), model, [] {}, [] {});
    return true;
}

void FileBrowserView::moveToSearchBox(BoxText text)
{
    _environment.model.setSelectSearchText(text == BoxText::selected);
    _environment.focus.setArea(FocusArea::search);
}

}  // namespace vellumhound::screens
