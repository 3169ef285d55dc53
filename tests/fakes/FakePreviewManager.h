// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "preview/PreviewPanelManager.h"

#include <QStringList>

namespace vellumhound::fakes {

/// A preview that shows nothing and notes what it is asked for.
class FakePreviewManager final : public preview::PreviewPanelManager {
public:
    bool isVisible() const override { return isShown; }
    bool isInFullScreenMode() const override { return isFullScreen; }
    void showPreview(const core::FilePtr &file, bool fullScreen) override
    {
        calls.append(QStringLiteral("show %1%2")
                         .arg(file ? file->fileName : QString(),
                             fullScreen ? QStringLiteral(" full") : QString()));
        isShown = true;
    }
    void hidePreview(bool fullScreen) override
    {
        calls.append(fullScreen ? QStringLiteral("hide full") : QStringLiteral("hide"));
        isShown = false;
    }
    void clearPreview() override
    {
        calls.append(QStringLiteral("clear"));
        isShown = false;
    }

    bool isShown = false;
    bool isFullScreen = false;
    QStringList calls;
};

/// Somebody who has that preview.
class FakePreviewHost final : public preview::PreviewHost {
public:
    preview::PreviewPanelManager &previewPanelManager() override { return manager; }

    FakePreviewManager manager;
};

}  // namespace vellumhound::fakes
