// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/LayerShell.h"

#include "platform/linux/wayland/ClickCatcher.h"
#include "platform/linux/wayland/PointerMotion.h"
#include "platform/Logging.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPlatformSurfaceEvent>
#include <QScreen>
#include <QWindow>

#include <algorithm>

namespace vellumhound::platform {

namespace {

constexpr int leastVisiblePx = 64;  // of a panel that is dragged beyond its output

bool isPopup(const QWindow &window)
{
    return window.type() == Qt::Popup || window.type() == Qt::ToolTip;
}

}  // namespace

QByteArrayList LayerShell::prepare()
{
    // With it, the toolkit gives no role to a window that bypasses the window manager.
    constexpr char variable[] = "QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT";
    if (qEnvironmentVariableIsSet(variable))
        return {};
    qputenv(variable, "1");
    return {variable};
}

std::unique_ptr<LayerShell> LayerShell::create(Handlers handlers)
{
    auto connection = WaylandConnection::open();
    if (!connection || !connection->layerShell() || !connection->shell())
        return nullptr;
    return std::unique_ptr<LayerShell>(new LayerShell(std::move(connection), std::move(handlers)));
}

LayerShell::LayerShell(std::shared_ptr<WaylandConnection> connection, Handlers handlers)
    : _connection(std::move(connection))
    , _handlers(std::move(handlers))
{
    qGuiApp->installEventFilter(this);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        if (!_catchers.empty())
            showCatcher(screen);
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &LayerShell::dropCatcher);
}

LayerShell::~LayerShell()
{
    _motion.reset();
    _catchers.clear();
    _placed.clear();
}

void LayerShell::setPanel(QWindow *panel)
{
    if (_panel && _panel != panel)
        release(_panel);
    _panel = panel;
    if (panel)
        follow(panel);
}

LayerShell::Place LayerShell::placeOf(const QWindow &window) const
{
    if (&window == _panel)
        return Place::panel;
    if (qobject_cast<const ClickCatcher *>(&window))
        return Place::catcher;
    // What is dragged has a role of its own.
    if (!_panel || !_panel->isVisible() || !window.isTopLevel() ||
        window.inherits("QShapedPixmapWindow"))
        return Place::elsewhere;
    if (isPopup(window))
        return Place::popup;
    const bool isOfPanel = window.transientParent() && _placed.contains(window.transientParent());
    return isOfPanel || window.isModal() ? Place::abovePanel : Place::elsewhere;
}

void LayerShell::follow(QWindow *window)
{
    disconnect(window, nullptr, this, nullptr);
    connect(window, &QWindow::visibleChanged, this, [this, window](bool isVisible) {
        if (isVisible)
            beforeShowing(window);
        else
            release(window);  // the role ends before its surface does
    });
    // Which output the panel is on is known only once it is there.
    connect(window, &QWindow::screenChanged, this, [this, window] {
        if (window == _panel)
            clearWayToPanel();
    });
}

void LayerShell::beforeShowing(QWindow *window)
{
    // Windows that are placed by nobody are never seen, so it is said again each time.
    window->setFlag(Qt::BypassWindowManagerHint, placeOf(*window) != Place::elsewhere);
    if (window != _panel)
        return;
    // Windows in full screen cover what is just above windows. Not always above all: there the
    // windows of input methods may be hidden.
    _height = _connection->isFullScreenWindowActive() ? LayerRole::Height::aboveAll
                                                      : LayerRole::Height::aboveWindows;
    // What is made later is higher in most compositors.
    showCatchers();
}

bool LayerShell::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWindowType())
        return false;
    auto *window = static_cast<QWindow *>(watched);
    switch (event->type()) {
    case QEvent::PlatformSurface:
        if (static_cast<QPlatformSurfaceEvent *>(event)->surfaceEventType() ==
            QPlatformSurfaceEvent::SurfaceCreated)
            follow(window);
        else
            onSurfaceGoing(window);
        break;
    case QEvent::Expose:
        return window->isExposed() && !place(window);
    case QEvent::Resize:
        if (const auto placed = _placed.find(window); placed != _placed.end())
            placed->second.role->resize(window->size());
        if (window == _panel)
            clearWayToPanel();
        break;
    case QEvent::MouseButtonPress:
        if (window == _panel && _isSteppedBack)
            askForKeyboard();
        break;
    case QEvent::MouseButtonRelease:
        _motion.reset();
        break;
    default:
        break;
    }
    return false;
}

/// Gives the window its role before it is drawn for the first time. False: it must not be drawn.
bool LayerShell::place(QWindow *window)
{
    const auto where = placeOf(*window);
    const bool isOurs = window->flags().testFlag(Qt::BypassWindowManagerHint);
    if (where == Place::elsewhere || !isOurs || _placed.contains(window))
        return true;
    auto *surface = WaylandConnection::surfaceOf(window);
    if (!surface)
        return false;
    auto placed =
        where == Place::popup ? makePopup(window, surface) : makeLayer(window, where, surface);
    const bool isConfigured = placed.role && placed.role->isConfigured();
    if (isConfigured) {
        _placed[window] = std::move(placed);
        onConfigured(window);
    } else {
        qCWarning(logPlatform) << "the compositor has no place for a window";
        placed.role.reset();
        QMetaObject::invokeMethod(
            window, [window] { window->close(); }, Qt::QueuedConnection);
    }
    return isConfigured;
}

LayerShell::Placed LayerShell::makeLayer(QWindow *window, Place place, wl_surface *surface)
{
    LayerRole::Description description;
    description.size = window->size();
    description.height = _height;
    if (place == Place::catcher) {
        auto *output = static_cast<ClickCatcher *>(window)->output();
        description.output = WaylandConnection::outputOf(output);
        description.keyboard = LayerRole::Keyboard::never;
        description.size = {};
    } else if (place == Place::abovePanel) {
        description.output = WaylandConnection::outputOf(_panel->screen());
        description.height = LayerRole::Height::aboveAll;
        if (window->windowStates().testFlag(Qt::WindowFullScreen))
            description.size = {};
    }
    auto role = std::make_unique<LayerRole>(*_connection, surface, description,
        LayerRole::Handlers{
            [this, window] { onConfigured(window); }, [this, window] { onClosed(window); }});
    auto *layer = role.get();
    return {std::move(role), layer};
}

LayerShell::Placed LayerShell::makePopup(QWindow *window, wl_surface *surface)
{
    auto parent = _placed.find(window->transientParent());
    if (parent == _placed.end())
        parent = _placed.find(_panel);
    if (parent == _placed.end())
        return {};
    const QRect place(window->position() - parent->first->position(), window->size());
    return {std::make_unique<PopupRole>(*_connection, surface, parent->second.layer,
                dynamic_cast<const PopupRole *>(parent->second.role.get()), place,
                [window] { window->close(); }),
        nullptr};
}

void LayerShell::onConfigured(QWindow *window)
{
    const auto *layer = layerOf(window);
    if (!layer || layer->configuredSize().isEmpty())
        return;
    if (qobject_cast<ClickCatcher *>(window)) {
        if (!layerOf(window)->stretch(layer->configuredSize()))
            window->resize(layer->configuredSize());
        clearWayToPanel();
    } else if (window->windowStates().testFlag(Qt::WindowFullScreen))
        window->resize(layer->configuredSize());
}

void LayerShell::onClosed(QWindow *window)
{
    if (window == _panel && _handlers.closed)
        _handlers.closed();
    else
        window->close();
}

/// With its output the toolkit makes a window again and shows it elsewhere. That the compositor
/// took the panel away is heard by nobody then, as the role has ended.
void LayerShell::onSurfaceGoing(QWindow *window)
{
    const bool isShownPanel = window == _panel && _placed.contains(window) && window->isVisible();
    release(window);
    if (isShownPanel && _handlers.closed)
        QMetaObject::invokeMethod(
            this, [this] { _handlers.closed(); }, Qt::QueuedConnection);
}

/// Ends the roles of `window` and of what stands on it, which goes with it.
void LayerShell::release(QWindow *window)
{
    if (window == _panel) {
        _motion.reset();
        _corner.reset();
        _catchers.clear();
        _isSteppedBack = false;
    }
    std::vector<QWindow *> above;
    for (const auto &entry : _placed) {
        if (entry.first != window && entry.first->transientParent() == window)
            above.push_back(const_cast<QWindow *>(entry.first));
    }
    for (auto *child : above) {
        release(child);
        QMetaObject::invokeMethod(
            child, [child] { child->close(); }, Qt::QueuedConnection);
    }
    _placed.erase(window);
}

void LayerShell::placePanel()
{
    // A layer has the keyboard without one, and the toolkit would keep it for another window.
    qunsetenv("XDG_ACTIVATION_TOKEN");
    if (_panel && !place(_panel) && _handlers.closed)
        _handlers.closed();
}

void LayerShell::showCatchers()
{
    for (auto *screen : QGuiApplication::screens())
        showCatcher(screen);
}

void LayerShell::showCatcher(QScreen *screen)
{
    if (!WaylandConnection::outputOf(screen))
        return;
    _catchers.push_back(std::make_unique<ClickCatcher>(screen, [this] { onPressOutside(); }));
    follow(_catchers.back().get());
    _catchers.back()->show();
    place(_catchers.back().get());
}

/// The toolkit would show it again, on another output.
void LayerShell::dropCatcher(const QScreen *screen)
{
    std::erase_if(_catchers, [screen](const auto &catcher) { return catcher->output() == screen; });
}

/// Which of two windows of the same height is on top is the compositor's affair: where the panel
/// is, presses are left to it.
void LayerShell::clearWayToPanel()
{
    for (const auto &catcher : _catchers) {
        const auto *layer = layerOf(catcher.get());
        if (!layer)
            continue;
        const QRect whole(QPoint(), layer->configuredSize());
        QRect panel(QPoint(), _panel->size());
        panel.moveTopLeft(_corner ? _corner->toPoint()
                                  : QPoint((whole.width() - panel.width()) / 2,
                                        (whole.height() - panel.height()) / 2));
        const bool isThere = catcher->output() == _panel->screen();
        catcher->setMask(isThere ? QRegion(whole) - panel : QRegion(whole));
    }
}

void LayerShell::onPressOutside()
{
    if (_handlers.pressedOutside)
        _handlers.pressedOutside();
}

void LayerShell::stepBack()
{
    auto *layer = layerOf(_panel);
    if (!layer || std::exchange(_isSteppedBack, true))
        return;
    _catchers.clear();
    layer->setKeyboard(LayerRole::Keyboard::never);
}

void LayerShell::centrePanel()
{
    _motion.reset();
    auto *layer = layerOf(_panel);
    if (!layer || !std::exchange(_corner, std::nullopt))
        return;
    layer->centre();
    clearWayToPanel();
}

void LayerShell::askForKeyboard()
{
    auto *layer = layerOf(_panel);
    // What stepped back had the keyboard before, if only for a moment and not yet a whole frame.
    if (!layer || !(layer->isShown() || _isSteppedBack))
        return;
    layer->setKeyboard(LayerRole::Keyboard::always);
    if (std::exchange(_isSteppedBack, false))
        showCatchers();
}

void LayerShell::startMove()
{
    if (!layerOf(_panel) || !_panel->screen())
        return;
    const auto area = _panel->screen()->size();
    if (!_corner)
        _corner = QPointF(area.width() - _panel->width(), area.height() - _panel->height()) / 2;
    _motion = PointerMotion::follow(*_connection, [this](double dx, double dy) { moveBy(dx, dy); });
}

void LayerShell::moveBy(double dx, double dy)
{
    const auto area = _panel->screen()->size();
    const auto within = [](double corner, int size, int room) {
        return std::clamp<double>(corner, leastVisiblePx - size, room - leastVisiblePx);
    };
    const auto wanted = _corner.value_or(QPointF()) + QPointF(dx, dy);
    _corner = QPointF(within(wanted.x(), _panel->width(), area.width()),
        within(wanted.y(), _panel->height(), area.height()));
    if (auto *layer = layerOf(_panel))
        layer->moveTo(_corner->toPoint());
    clearWayToPanel();
}

LayerRole *LayerShell::layerOf(const QWindow *window) const
{
    const auto placed = _placed.find(window);
    return placed == _placed.end() ? nullptr : placed->second.layer;
}

}  // namespace vellumhound::platform
