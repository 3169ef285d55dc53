// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vellumhound::platform {

/// The one preview surface of the process, above the launcher or in full screen. Main thread.
class PreviewPanel {
public:
    virtual ~PreviewPanel() = default;

    virtual bool isVisible() const = 0;
    virtual bool isInFullScreenMode() const = 0;
    /// Shows again what its source has to show.
    virtual void reloadData() = 0;
    virtual void makeKeyAndOrderFront() = 0;
    virtual void orderFrontRegardless() = 0;
    virtual void orderOut() = 0;
    virtual void setLevel(int level) = 0;
    virtual int level() const = 0;
    virtual void enterFullScreenMode() = 0;
    virtual void exitFullScreenMode() = 0;
};

/// Where there is no preview: never visible, every call without effect.
class NullPreviewPanel final : public PreviewPanel {
public:
    bool isVisible() const override { return false; }
    bool isInFullScreenMode() const override { return false; }
    void reloadData() override {}
    void makeKeyAndOrderFront() override {}
    void orderFrontRegardless() override {}
    void orderOut() override {}
    void setLevel(int) override {}
    int level() const override { return 0; }
    void enterFullScreenMode() override {}
    void exitFullScreenMode() override {}
};

}  // namespace vellumhound::platform
