// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/BackgroundBlur.h"
#include "platform/linux/activation/ActivationWatcher.h"
#include "platform/linux/wayland/LayerShell.h"
#include "shell/PanelLogic.h"
#include "shell/widgets/PanelSurface.h"

#include <QWidget>

#include <memory>

namespace vellumhound::shell {

/// The window of the launcher: frameless, above others, in no task list, with corners, shadow and
/// border of its own, dragged by its background. It goes away by itself once the keyboard is
/// elsewhere; the rules are PanelLogic's.
///
/// Main thread; made and owned by the application delegate, which outlives it. The native window is
/// made at once, so that the first showing is as quick as the others.
class FloatingPanel final : public QWidget, private PanelWindow {
    Q_OBJECT

public:
    /// Takes over `content`, whose size hint is the panel's size; it shrinks to small screens.
    FloatingPanel(QWidget *content, PanelSurroundings surroundings);
    ~FloatingPanel() override;

    /// Moves the panel to the middle of the whole screen that is in use. Without a screen nothing
    /// happens.
    void centerOnScreen();
    void makeKeyAndOrderFront() { _logic.makeKeyAndOrderFront(); }
    void becomeKeyWindow() { _logic.becomeKeyWindow(); }
    void resignKeyWindow() { _logic.resignKeyWindow(); }
    void hideLauncher() { _logic.hideLauncher(); }
    void giveUpKey() { _logic.giveUpKey(); }
    bool isKeyWindow() const { return _logic.isKeyWindow(); }

    /// The border stays as it was when the panel was first shown; the background follows.
    void setTheme(const ui::Theme &theme);
    /// The compositor blurs behind the panel, which may be translucent then.
    bool isBlurred() const { return _blur && _blur->isOffered(); }
    /// Where the panel itself lies in this window, without the room for the shadow.
    QRect panelRect() const;

Q_SIGNALS:
    void blurChanged();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    bool isOnScreen() const override;
    bool hasKeyboard() const override;
    void orderFront() override;
    void askForKeyboard() override;
    void orderOut() override;

    platform::LayerShell::Handlers layerShellHandlers();
    void setNativeWindow(QWindow *window);
    void onScreenChanged(QScreen *screen);
    void fitTo(const QScreen &screen);
    void layOut();
    std::unique_ptr<platform::BackgroundBlur> makeBlur();
    void requestBlur();

    QWidget *_content = nullptr;
    PanelShadow _shadow;
    PanelBorder *_border = nullptr;
    ui::Theme _theme;
    bool _wasShown = false;
    QMargins _margins;  // none where nothing is composited
    bool _isComposited = true;
    PanelLogic _logic;
    platform::ActivationWatcher _watcher;
    std::unique_ptr<platform::LayerShell> _layerShell;  // null: the panel is an ordinary window
    std::unique_ptr<platform::BackgroundBlur> _blur;    // null: nothing could ever blur here
};

}  // namespace vellumhound::shell
