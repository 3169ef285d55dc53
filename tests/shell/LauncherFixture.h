// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "screens/ScreenFixture.h"
#include "shell/LauncherView.h"

namespace vellumhound::shell {

/// The root of the panel over fakes.
class LauncherFixture : public core::CoreFixture {
public:
    LauncherFixture()
    {
        view.appear();
        queue.drain();
    }
    Q_DISABLE_COPY_MOVE(LauncherFixture)

    bool press(int keyCode, std::uint32_t modifiers = 0, const QString &characters = {})
    {
        const bool isConsumed = !keys.press(keyCode, modifiers, characters);
        queue.drain();
        return isConsumed;
    }
    void post(const char16_t *name)
    {
        center.post(QString::fromUtf16(name));
        queue.drain();
    }
    void show(const QStringList &paths, core::ResultType type = core::ResultType::search)
    {
        core::FileList files;
        for (const auto &path : paths)
            files.append(file(path));
        view.model().showFiles(files, type);
        queue.drain();
    }
    void startWith(settings::StartupBehavior behavior) { settings.setStartupBehavior(behavior); }

    fakes::FakeKeyEventSource keys;
    keyboard::KeyboardMonitor monitor{keys, queue};
    fakes::ManualTimer timer;
    fakes::FakeClock clock;
    fakes::FakeWorkspace workspace;
    fakes::FakePreviewHost previewHost;
    screens::FakeFinderManager finderManager;
    settings::AppSettings settings{defaults};
    bool isOnboardingDone = true;
    LauncherView view{LauncherView::Environment{.appDelegate = previewHost,
        .finderManager = finderManager,
        .settings = settings,
        .userDefaults = defaults,
        .fileSearchService = service,
        .moc = context(),
        .fileSystem = disk,
        .background = background,
        .keyboardMonitor = monitor,
        .notificationCenter = center,
        .queue = queue,
        .timer = timer,
        .workspace = workspace,
        .clock = clock,
        .isOnboardingDone = [this] { return isOnboardingDone; }}};
};

}  // namespace vellumhound::shell
