// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/FloatingPanel.h"

#include "platform/linux/wayland/WaylandBackgroundBlur.h"
#include "platform/linux/x11/X11BackgroundBlur.h"
#include "platform/linux/x11/X11Desktop.h"

#include <QAccessibleWidget>
#include <QBitmap>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <algorithm>

namespace vellumhound::shell {

using namespace Qt::StringLiterals;

namespace {

/// The toolkit takes a window without a frame for a mere container.
QAccessibleInterface *interfaceOf(const QString &, QObject *object)
{
    auto *panel = qobject_cast<FloatingPanel *>(object);
    return panel ? new QAccessibleWidget(panel, QAccessible::Window) : nullptr;
}

}  // namespace

FloatingPanel::FloatingPanel(QWidget *content, PanelSurroundings surroundings)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::NoDropShadowWindowHint)
    , _content(content)
    , _border(new PanelBorder(_shadow, this))
    , _theme(ui::Theme::light())
    , _logic(*this, std::move(surroundings))
    , _watcher({[this] { _logic.onKeyboardGained(); }, [this] { _logic.onKeyboardLost(); },
          [this] { _logic.onApplicationInactive(); }, [this] { _logic.onActiveWindowChanged(); },
          [this] { _logic.onOwnWindowClosed(); }})
    , _layerShell(platform::LayerShell::create(layerShellHandlers()))
    , _blur(makeBlur())
{
    static const bool isFactoryInstalled = (QAccessible::installFactory(interfaceOf), true);
    Q_UNUSED(isFactoryInstalled);
    setObjectName(u"FloatingPanel"_s);
    setWindowTitle(u"Vellumhound"_s);
    setAccessibleName(u"Vellumhound"_s);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_QuitOnClose, false);
    _content->setParent(this);
    _border->raise();
    if (const auto *screen = QGuiApplication::primaryScreen())
        fitTo(*screen);
    winId();
    ensurePolished();
    setNativeWindow(windowHandle());
}

FloatingPanel::~FloatingPanel()
{
    setNativeWindow(nullptr);
}

void FloatingPanel::setNativeWindow(QWindow *window)
{
    _watcher.setPanel(window);
    requestBlur();
    if (!_layerShell)
        return;
    _layerShell->setPanel(window);
    if (window)
        connect(window, &QWindow::screenChanged, this, &FloatingPanel::onScreenChanged);
}

platform::LayerShell::Handlers FloatingPanel::layerShellHandlers()
{
    return {[this] {
                _logic.onApplicationInactive();
                if (isVisible())
                    _layerShell->stepBack();
            },
        [this] {
            _logic.onApplicationInactive();
            hide();
        }};
}

/// Which output the compositor chose is known only once the panel is there.
void FloatingPanel::onScreenChanged(QScreen *screen)
{
    if (screen && isVisible())
        fitTo(*screen);
}

void FloatingPanel::setTheme(const ui::Theme &theme)
{
    if (!_wasShown)
        _border->setLine(theme.panelLine, theme.panelLineWidth);
    _theme = theme;
    layOut();
    update();
}

std::unique_ptr<platform::BackgroundBlur> FloatingPanel::makeBlur()
{
    const auto changed = [this] {
        requestBlur();
        Q_EMIT blurChanged();
    };
    if (auto blur = platform::X11BackgroundBlur::create(changed))
        return blur;
    return platform::WaylandBackgroundBlur::create(changed);
}

void FloatingPanel::requestBlur()
{
    auto *window = windowHandle();
    if (!_blur || !window)
        return;
    _blur->blurBehind(
        *window, isBlurred() ? roundedRegion(panelRect(), panelCornerRadius) : QRegion());
}

QRect FloatingPanel::panelRect() const
{
    return rect().marginsRemoved(_margins);
}

/// Sizes the panel for `screen`, and the room around it as far as the screen has any: a window that
/// is larger than its screen would be moved by the window manager.
void FloatingPanel::fitTo(const QScreen &screen)
{
    _isComposited = platform::isComposited();
    const auto available = screen.geometry().size();
    const auto wanted = _content->sizeHint().expandedTo(_content->minimumSize());
    const auto panel = wanted.boundedTo(available);
    const auto spare = (available - panel) / 2;
    auto room = _isComposited ? panelShadowMargins : QMargins();
    // There the middle of the window is put into the middle of the screen.
    if (_layerShell)
        room.setTop(room.bottom());
    _margins = {std::min(room.left(), spare.width()), std::min(room.top(), spare.height()),
        std::min(room.right(), spare.width()), std::min(room.bottom(), spare.height())};
    setFixedSize(panel.grownBy(_margins));
    layOut();
}

void FloatingPanel::layOut()
{
    const auto panel = panelRect();
    _content->setGeometry(panel);
    _border->setGeometry(panel);
    _border->setShadowColor(_isComposited ? _theme.shadow : QColor());
    setWindowOpacity(platform::hasX11Compositor() ? ui::opacities::composited : 1);
    requestBlur();
    if (_isComposited) {
        clearMask();
        return;
    }
    QBitmap shape(size());
    shape.clear();
    QPainter painter(&shape);
    painter.setBrush(Qt::color1);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(panel, panelCornerRadius, panelCornerRadius);
    painter.end();
    setMask(shape);
}

void FloatingPanel::centerOnScreen()
{
    const auto *screen = platform::mainScreen();
    if (!screen)
        return;
    fitTo(*screen);
    const auto area = screen->geometry();
    const auto panel = panelRect().size();
    const QPoint corner(area.x() + (area.width() - panel.width()) / 2,
        area.y() + (area.height() - panel.height()) / 2);
    move(corner - QPoint(_margins.left(), _margins.top()));
    if (_layerShell)
        _layerShell->centrePanel();
}

bool FloatingPanel::isOnScreen() const
{
    return isVisible();
}

bool FloatingPanel::hasKeyboard() const
{
    return windowHandle() && QGuiApplication::focusWindow() == windowHandle();
}

void FloatingPanel::orderFront()
{
    if (!isVisible()) {
        _wasShown = true;
        platform::writePanelState(winId());
        show();
        platform::requestPanelState(winId());
        if (_layerShell)
            _layerShell->placePanel();
        requestBlur();
    }
    askForKeyboard();
    platform::requestKeyboard(winId());
}

void FloatingPanel::askForKeyboard()
{
    raise();
    activateWindow();
    if (_layerShell && !QGuiApplication::focusWindow())
        _layerShell->askForKeyboard();
}

void FloatingPanel::orderOut()
{
    hide();
}

bool FloatingPanel::event(QEvent *event)
{
    const bool isTaken = QWidget::event(event);
    if (event->type() == QEvent::WinIdChange)
        setNativeWindow(windowHandle());
    return isTaken;
}

/// The corners are rounded off by the border, together with those of what the panel holds.
void FloatingPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (_isComposited)
        _shadow.paint(painter, panelRect(), _theme.shadow, devicePixelRatioF());
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(panelRect(), _theme.panelSurface);
}

void FloatingPanel::resizeEvent(QResizeEvent *)
{
    layOut();
}

void FloatingPanel::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    // A press in the room for the shadow is meant for what shines through it.
    if (!panelRect().contains(event->position().toPoint()))
        _logic.giveUpKey();
    else if (_layerShell)
        _layerShell->startMove();
    else if (auto *window = windowHandle())
        window->startSystemMove();
}

/// The window manager's own way of closing is a way of putting the panel away, never of ending it.
void FloatingPanel::closeEvent(QCloseEvent *event)
{
    event->ignore();
    _logic.giveUpKey();
}

}  // namespace vellumhound::shell
