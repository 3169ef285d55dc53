// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PreviewPanel.h"

#include <QStringList>

namespace vellumhound::fakes {

/// A preview panel without a window: keeps its state and the names of the calls, in order.
class FakePreviewPanel final : public platform::PreviewPanel {
public:
    bool isVisible() const override { return visible; }
    bool isInFullScreenMode() const override { return fullScreen; }
    void reloadData() override { calls.append(QStringLiteral("reloadData")); }
    void makeKeyAndOrderFront() override
    {
        calls.append(QStringLiteral("makeKeyAndOrderFront"));
        visible = true;
    }
    void orderFrontRegardless() override
    {
        calls.append(QStringLiteral("orderFrontRegardless"));
        visible = true;
    }
    void orderOut() override
    {
        calls.append(QStringLiteral("orderOut"));
        visible = false;
    }
    void setLevel(int newLevel) override
    {
        calls.append(QStringLiteral("setLevel"));
        panelLevel = newLevel;
    }
    int level() const override { return panelLevel; }
    void enterFullScreenMode() override
    {
        calls.append(QStringLiteral("enterFullScreenMode"));
        visible = true;
        fullScreen = true;
    }
    void exitFullScreenMode() override
    {
        calls.append(QStringLiteral("exitFullScreenMode"));
        fullScreen = false;
    }

    bool visible = false;
    bool fullScreen = false;
    int panelLevel = 0;
    QStringList calls;
};

}  // namespace vellumhound::fakes
