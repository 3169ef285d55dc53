// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/FloatingPanel.h"

#include "platform/linux/x11/X11Desktop.h"

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

FloatingPanel::FloatingPanel(QWidget *content, PanelSurroundings surroundings)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::NoDropShadowWindowHint)
    , _content(content)
    , _border(new PanelBorder(this))
    , _logic(*this, std::move(surroundings))
    , _watcher({[this] { _logic.onKeyboardGained(); }, [this] { _logic.onKeyboardLost(); },
          [this] { _logic.onApplicationInactive(); }, [this] { _logic.onActiveWindowChanged(); },
          [this] { _logic.onOwnWindowClosed(); }})
    , _layerShell(platform::LayerShell::create(layerShellHandlers()))
{
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

void FloatingPanel::setAppearance(const PanelAppearance &appearance)
{
    if (!_appearance)
        _border->setLine(appearance.borderColour, appearance.borderWidth);
    _appearance = appearance;
    update();
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
        platform::writePanelState(winId());
        show();
        platform::requestPanelState(winId());
        if (_layerShell)
            _layerShell->placePanel();
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

void FloatingPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (_isComposited)
        _shadow.paint(painter, panelRect(), devicePixelRatioF());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(
        _appearance ? toQColor(_appearance->background) : palette().color(QPalette::Window));
    if (_isComposited)
        painter.drawRoundedRect(panelRect(), panelCornerRadius, panelCornerRadius);
    else
        painter.drawRect(panelRect());  // the window's shape cuts the corners
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
