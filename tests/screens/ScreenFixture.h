// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/CoreFixture.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeKeyEventSource.h"
#include "fakes/FakePreviewManager.h"
#include "fakes/FakeWorkspace.h"
#include "fakes/ManualTimer.h"
#include "finder/FinderManager.h"
#include "screens/FileBrowserView.h"
#include "screens/FileSearchView.h"

namespace vellumhound::screens {

/// A file manager whose windows a test opens.
class FakeFinderManager final : public finder::FinderManager {
public:
    QList<core::FilePtr> getSelectedFiles() override { return selected; }
    QList<core::FilePtr> getFinderWindows() override
    {
        QList<core::FilePtr> rows;
        for (const auto &path : windows)
            rows.append(core::CoreFixture::folderAt(path));
        return rows;
    }
    void closeFinderWindow(const QString &path) override { windows.removeAll(path); }
    void closeAllFinderWindows() override { windows.clear(); }

    QList<core::FilePtr> selected;
    QStringList windows;
};

/// Both screens of search and results over fakes, as the root of the panel puts them together.
class ScreenFixture : public core::CoreFixture {
public:
    ScreenFixture()
    {
        search.appear();
        browser.appear();
    }

    /// The focus stands in `area` and everything asked for so far has happened.
    void focusOn(keyboard::FocusArea area)
    {
        focus.setArea(area);
        queue.drain();
    }
    /// True if the key was consumed.
    bool press(int keyCode, std::uint32_t modifiers = 0, const QString &characters = {})
    {
        const bool isConsumed = !keys.press(keyCode, modifiers, characters);
        queue.drain();
        return isConsumed;
    }
    /// As a person does it in the box.
    void type(const QString &text)
    {
        focusOn(keyboard::FocusArea::search);
        model->setSearchText(text);
    }
    void letThePausePass()
    {
        timer.advance(FileSearchView::debounceTime);
        queue.drain();
    }
    /// The index answers the running search with these and ends.
    void answer(const QStringList &paths)
    {
        for (const auto &path : paths)
            index.append({fakes::FakeMetadataQuery::item(path)});
        index.postFinish();
        queue.drain();
    }
    void searchFor(const QString &text, const QStringList &paths)
    {
        type(text);
        letThePausePass();
        answer(paths);
    }
    QStringList rows() const { return names(model->files()); }
    QStringList recordedSearches()
    {
        QStringList texts;
        store::FetchRequest<store::FileSearch> request;
        request.sortedBy(&store::FileSearch::searchDate, store::SortDirection::descending);
        for (const auto &entry : context().fetch(request).value())
            texts.append(entry->searchText.value_or(QString()));
        return texts;
    }

    fakes::FakeKeyEventSource keys;
    keyboard::KeyboardMonitor monitor{keys, queue};
    keyboard::FocusState focus{queue};
    fakes::ManualTimer timer;
    fakes::FakeClock clock;
    fakes::FakeWorkspace workspace;
    fakes::FakePreviewHost previewHost;
    FakeFinderManager finderManager;
    settings::AppSettings settings{defaults};
    FileSearchView search{FileSearchView::Environment{.fileSearchService = service,
        .appDelegate = previewHost,
        .model = *model,
        .moc = context(),
        .settings = settings,
        .focus = focus,
        .keyboardMonitor = monitor,
        .notificationCenter = center,
        .timer = timer,
        .workspace = workspace,
        .clock = clock}};
    FileBrowserView browser{FileBrowserView::Environment{.appDelegate = previewHost,
        .fileSearchService = service,
        .model = *model,
        .finderManager = finderManager,
        .focus = focus,
        .keyboardMonitor = monitor,
        .notificationCenter = center,
        .queue = queue,
        .workspace = workspace}};
};

}  // namespace vellumhound::screens
