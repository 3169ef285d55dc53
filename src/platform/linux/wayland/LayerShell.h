// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/wayland/SurfaceRole.h"
#include "platform/linux/wayland/WaylandConnection.h"

#include <QByteArrayList>
#include <QObject>
#include <QPointF>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class QScreen;
class QWindow;

namespace vellumhound::platform {

class ClickCatcher;
class PointerMotion;

/// Puts the panel where a Wayland compositor puts no ordinary window: in the middle of the output
/// in use, above the others, with the keyboard. Menus, tooltips, dialogs and whatever else has the
/// panel for its transient parent follow it there; else they would be below it. A press anywhere
/// else is reported, as not every compositor moves the keyboard for it.
///
/// Main thread. It outlives the panel's window and goes before the application object does.
class LayerShell final : public QObject {
    Q_OBJECT

public:
    struct Handlers {
        /// A press beside all windows that are placed here; it reaches nobody else.
        std::function<void()> pressedOutside;
        /// The compositor took the panel off the screen, for example with its output.
        std::function<void()> closed;
    };

    /// Tells the toolkit to leave windows to us where we ask for it. To be called before there is
    /// an application object; without effect on other window systems. The result is what it has set
    /// in the environment of this process.
    static QByteArrayList prepare();
    /// Null where the compositor has no layer-shell, or on any other window system: windows are
    /// ordinary ones there.
    static std::unique_ptr<LayerShell> create(Handlers handlers);
    ~LayerShell() override;

    /// Null for none. To be told before the window is shown, and again when it is made anew.
    void setPanel(QWindow *panel);
    /// To be called as soon as the panel was shown, before anything is drawn on it. Uses up a token
    /// that the panel was activated with.
    void placePanel();
    void centrePanel();
    /// Asks with more force than the showing itself did. Without effect before the panel has been
    /// on screen: the keyboard comes with that.
    void askForKeyboard();
    /// Moves the panel with the pointer until the button is released.
    void startMove();
    /// Leaves presses beside the panel, and the keyboard, to other programs until the panel itself
    /// is pressed.
    void stepBack();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    enum class Place { elsewhere, panel, popup, abovePanel, catcher };
    struct Placed {
        std::unique_ptr<SurfaceRole> role;
        LayerRole *layer = nullptr;  // the role, if it is one
    };

    LayerShell(std::shared_ptr<WaylandConnection> connection, Handlers handlers);
    Place placeOf(const QWindow &window) const;
    void follow(QWindow *window);
    void beforeShowing(QWindow *window);
    bool place(QWindow *window);
    Placed makeLayer(QWindow *window, Place place, wl_surface *surface);
    Placed makePopup(QWindow *window, wl_surface *surface);
    void onSurfaceGoing(QWindow *window);
    void release(QWindow *window);
    void onConfigured(QWindow *window);
    void onClosed(QWindow *window);
    void onPressOutside();
    void showCatchers();
    void showCatcher(QScreen *screen);
    void dropCatcher(const QScreen *screen);
    void clearWayToPanel();
    void moveBy(double dx, double dy);
    LayerRole *layerOf(const QWindow *window) const;

    std::shared_ptr<WaylandConnection> _connection;
    const Handlers _handlers;
    QWindow *_panel = nullptr;
    std::map<const QWindow *, Placed> _placed;  // the windows on screen that are placed here
    std::vector<std::unique_ptr<ClickCatcher>> _catchers;  // one an output, while the panel shows
    std::unique_ptr<PointerMotion> _motion;                // while the panel is dragged
    std::optional<QPointF> _corner;                        // of a panel that was dragged
    LayerRole::Height _height = LayerRole::Height::aboveWindows;  // of the panel
    bool _isSteppedBack = false;
};

}  // namespace vellumhound::platform
