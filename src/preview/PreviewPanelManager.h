// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/File.h"

namespace vellumhound::preview {

/// The one route to the preview: what it shows is at most one file. Owned by the panel; main
/// thread.
class PreviewPanelManager {
public:
    virtual ~PreviewPanelManager() = default;

    virtual bool isVisible() const = 0;
    virtual bool isInFullScreenMode() const = 0;
    virtual void showPreview(const core::FilePtr &file, bool fullScreen) = 0;
    virtual void hidePreview(bool fullScreen) = 0;
    /// Shows nothing any more and goes away, without a change of level or of full screen.
    virtual void clearPreview() = 0;
};

/// Where there is no preview: never visible, every call without effect.
class NullPreviewPanelManager final : public PreviewPanelManager {
public:
    bool isVisible() const override { return false; }
    bool isInFullScreenMode() const override { return false; }
    void showPreview(const core::FilePtr &, bool) override {}
    void hidePreview(bool) override {}
    void clearPreview() override {}
};

/// Who has the preview; what the screens know of the application's delegate.
class PreviewHost {
public:
    virtual ~PreviewHost() = default;
    virtual PreviewPanelManager &previewPanelManager() = 0;
};

}  // namespace vellumhound::preview
