// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/widgets/RecorderWidget.h"

#include "base/widgets/Symbols.h"
#include "keyboard/KeyboardShortcuts/Strings.h"
#include "keyboard/KeyboardShortcuts/widgets/RecorderAccessible.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace metrics {
constexpr int text = 13;
constexpr int height = 24;
constexpr int paddingY = 4;
constexpr int paddingX = 8;
constexpr double radius = 5;
constexpr double line = 1;
constexpr double focusLine = 2;
constexpr int clearFrame = 20;
constexpr int clearSymbol = 14;  // of the grid; the disc itself is smaller
constexpr int clearInset = 2;    // from the field's edge to the frame
constexpr double selectionPadding = 3;
constexpr double selectionRadius = 3;
constexpr int alertSymbol = 40;
}  // namespace metrics

/// Inside the field. Takes no focus: the field has it, and Delete is its key.
class RecorderWidget::ClearButton final : public QAbstractButton {
public:
    explicit ClearButton(QWidget *parent)
        : QAbstractButton(parent)
    {
        setObjectName(u"recorderClearButton"_s);
        setAccessibleName(localizedString(u"clear_shortcut"_s));
        setToolTip(accessibleName());
        setFocusPolicy(Qt::NoFocus);
        setCursor(Qt::ArrowCursor);
        setFixedSize(metrics::clearFrame, metrics::clearFrame);
        setAttribute(Qt::WA_Hover);
    }
    void setTheme(const ui::Theme &theme)
    {
        _normal = theme.clearSymbol;
        _hover = theme.secondaryText;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setOpacity(isDown() ? ui::metrics::pressedOpacity : 1);
        QRectF symbol(0, 0, metrics::clearSymbol, metrics::clearSymbol);
        symbol.moveCenter(QRectF(rect()).center());
        base::paintSymbol(painter, symbol, u"xmark.circle.fill"_s, underMouse() ? _hover : _normal);
    }

private:
    QColor _normal;
    QColor _hover;
};

RecorderWidget::RecorderWidget(const Name &name, RecorderCocoa::ChangeHandler onChange,
    const RecorderCocoa::Environment &environment, const ui::Theme &theme, QWidget *parent)
    : QWidget(parent)
    , _theme(theme)
    , _clearButton(new ClearButton(this))
    , _bell(&QApplication::beep)
{
    RecorderAccessible::install();
    setObjectName(u"RecorderCocoa"_s);
    setAccessibleName(localizedString(u"keyboard_shortcut"_s));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAttribute(Qt::WA_InputMethodEnabled, false);
    setFocusPolicy(Qt::ClickFocus);
    _clearButton->setTheme(theme);
    connect(_clearButton, &QAbstractButton::clicked, this, &RecorderWidget::clear);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *focused) {
        if (focused)
            _isTabAnchor = false;
    });
    _logic = std::make_unique<RecorderCocoa>(
        environment, static_cast<RecorderView &>(*this), name, std::move(onChange));
}

RecorderWidget::~RecorderWidget() = default;

void RecorderWidget::setOnChange(RecorderCocoa::ChangeHandler onChange)
{
    _logic->setOnChange(std::move(onChange));
}

void RecorderWidget::setTheme(const ui::Theme &theme)
{
    if (theme == _theme)
        return;
    _theme = theme;
    _clearButton->setTheme(theme);
    updateGeometry();
    update();
}

QAbstractButton &RecorderWidget::clearButton() const
{
    return *_clearButton;
}

/// As wide as the rules say, and wider only where a prompt needs it.
QSize RecorderWidget::sizeHint() const
{
    const QFontMetricsF font(_theme.font(metrics::text));
    double width = RecorderCocoa::minimumWidth;
    for (const auto &key : {u"record_shortcut"_s, u"press_shortcut"_s})
        width =
            std::max(width, font.horizontalAdvance(localizedString(key)) + 2.0 * metrics::paddingX);
    const double height = std::max<double>(metrics::height, font.height() + 2 * metrics::paddingY);
    return {int(std::ceil(width)), int(std::ceil(height))};
}

bool RecorderWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != _window)
        return false;
    switch (event->type()) {
    case QEvent::WindowActivate:
        if (const auto handler = _didBecomeKey.lock())
            (*handler)();
        return false;
    case QEvent::WindowDeactivate:
        if (const auto handler = _didResignKey.lock())
            (*handler)();
        // Or the field would record again, unasked, when its window comes back.
        clearFocus();
        return false;
    case QEvent::KeyPress: {
        const int key = static_cast<QKeyEvent *>(event)->key();
        const bool isTab = key == Qt::Key_Tab || key == Qt::Key_Backtab;
        return isTab && _isTabAnchor && moveFocus(key == Qt::Key_Tab);
    }
    default:
        return false;
    }
}

void RecorderWidget::watchWindow(QWidget *window)
{
    if (_window)
        _window->removeEventFilter(this);
    _window = window;
    if (_window)
        _window->installEventFilter(this);
}

void RecorderWidget::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    watchWindow(window());
    _logic->viewDidMoveToWindow(true);
}

void RecorderWidget::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (event->spontaneous())
        return;
    watchWindow(nullptr);
    _logic->viewDidMoveToWindow(false);
}

void RecorderWidget::focusInEvent(QFocusEvent *event)
{
    QWidget::focusInEvent(event);
    _logic->becomeFirstResponder();
    update();
}

void RecorderWidget::focusOutEvent(QFocusEvent *event)
{
    QWidget::focusOutEvent(event);
    _logic->controlTextDidEndEditing();
    update();
}

void RecorderWidget::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        placeClearButton();
    update();
}

void RecorderWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    placeClearButton();
}

void RecorderWidget::placeClearButton()
{
    const int x =
        isRightToLeft() ? metrics::clearInset : width() - metrics::clearInset - metrics::clearFrame;
    _clearButton->move(x, (height() - metrics::clearFrame) / 2);
}

void RecorderWidget::setStringValue(const QString &value)
{
    const auto old = std::exchange(_value, value);
    update();
    if (old != value)
        RecorderAccessible::announce(this, old);
}

void RecorderWidget::setPlaceholder(const QString &placeholder)
{
    if (std::exchange(_placeholder, placeholder) == placeholder)
        return;
    update();
    RecorderAccessible::announce(this, _value);
}

void RecorderWidget::setCancelButton(bool isInstalled)
{
    _clearButton->setVisible(isInstalled);
}

void RecorderWidget::clickCancelButton()
{
    _clearButton->click();
}

void RecorderWidget::clear()
{
    setStringValue({});
    _logic->controlTextDidChange();
}

RecorderPoint RecorderWidget::extent() const
{
    return {double(width()), double(height())};
}

RecorderPoint RecorderWidget::fromScreen(RecorderPoint point) const
{
    const auto mapped = mapFromGlobal(QPointF(point.x, point.y));
    return {mapped.x(), mapped.y()};
}

void RecorderWidget::makeFirstResponder()
{
    if (!window()->isActiveWindow())
        window()->activateWindow();
    setFocus(Qt::OtherFocusReason);
}

void RecorderWidget::blur()
{
    clearFocus();
    _isTabAnchor = true;
}

/// The next one in the order of the Tab key, as if the focus were still here.
bool RecorderWidget::moveFocus(bool isForward)
{
    const auto beside = [&](QWidget *widget) {
        return isForward ? widget->nextInFocusChain() : widget->previousInFocusChain();
    };
    for (auto *next = beside(this); next && next != this; next = beside(next)) {
        const bool isReached = next->window() == window() && next->isVisible() &&
                               next->isEnabled() && (next->focusPolicy() & Qt::TabFocus);
        if (!isReached)
            continue;
        next->setFocus(isForward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        return true;
    }
    return false;
}

void RecorderWidget::canBecomeKeyDidChange(bool canBecomeKey)
{
    setFocusPolicy(canBecomeKey ? Qt::StrongFocus : Qt::ClickFocus);
}

RecorderView::ObserverToken RecorderWidget::observeWindowDidResignKey(WindowHandler handler)
{
    auto token = std::make_shared<WindowHandler>(std::move(handler));
    _didResignKey = token;
    return token;
}

RecorderView::ObserverToken RecorderWidget::observeWindowDidBecomeKey(WindowHandler handler)
{
    auto token = std::make_shared<WindowHandler>(std::move(handler));
    _didBecomeKey = token;
    return token;
}

int RecorderWidget::runAlert(const RecorderAlert &alert)
{
    auto *owner = isVisible() ? window() : nullptr;
    const QPointer<QMessageBox> box(new QMessageBox(owner));
    box->setObjectName(u"recorderAlert"_s);
    box->setWindowTitle(u"Vellumhound"_s);
    box->setTextFormat(Qt::PlainText);
    box->setText(alert.message);
    box->setInformativeText(alert.informativeText);
    box->setIconPixmap(base::symbolPixmap(u"exclamationmark.triangle.fill"_s, metrics::alertSymbol,
        devicePixelRatioF(), QColor(0xD9, 0x82, 0x0B)));
    box->setWindowModality(owner ? Qt::WindowModal : Qt::ApplicationModal);
    // Of one role, so that each desktop puts the first one where it has the usual answer.
    QList<QAbstractButton *> offered;
    for (const auto &text : alert.buttons)
        offered.append(box->addButton(text, QMessageBox::AcceptRole));
    box->setDefaultButton(qobject_cast<QPushButton *>(offered.value(0)));
    box->setEscapeButton(offered.value(0));
    box->exec();
    // The owner may have gone, and this field and the box with it.
    if (!box)
        return RecorderAlert::firstButton;
    const auto place = offered.indexOf(box->clickedButton());
    delete box;
    return RecorderAlert::firstButton + int(std::max<qsizetype>(place, 0));
}

void RecorderWidget::beep()
{
    if (_bell)
        _bell();
}

void RecorderWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto colors = _theme.palette();
    const bool isFocused = hasFocus();
    const double width = isFocused ? metrics::focusLine : metrics::line;
    const auto edge = _theme.isDark ? QColor(255, 255, 255, 60) : QColor(0, 0, 0, 41);
    painter.setPen(QPen(isFocused ? _theme.accent : edge, width));
    painter.setBrush(colors.color(QPalette::Base));
    painter.drawRoundedRect(QRectF(rect()).adjusted(width / 2, width / 2, -width / 2, -width / 2),
        metrics::radius, metrics::radius);

    const bool isEmpty = _value.isEmpty();
    painter.setFont(_theme.font(metrics::text));
    // In the middle of the whole field, as long as that leaves the button free.
    QRectF room = QRectF(rect()).adjusted(metrics::paddingX, 0, -metrics::paddingX, 0);
    const QFontMetricsF font(painter.font());
    const double besideButton = metrics::clearInset + metrics::clearFrame;
    if (!isEmpty && font.horizontalAdvance(_value) > this->width() - 2 * besideButton) {
        room = QRectF(rect()).adjusted(metrics::paddingX, 0, -besideButton, 0);
        if (isRightToLeft())
            room.moveLeft(besideButton);
    }
    const auto text =
        font.elidedText(isEmpty ? _placeholder : _value, Qt::ElideRight, room.width());
    if (isFocused && !isEmpty)
        paintSelection(painter, room, text);
    painter.setPen(isEmpty ? _theme.placeholderText : _theme.primaryText);
    painter.drawText(room, Qt::AlignCenter, text);
}

/// What the next press replaces is marked, as a field marks its text.
void RecorderWidget::paintSelection(
    QPainter &painter, const QRectF &room, const QString &text) const
{
    const QFontMetricsF font(painter.font());
    QRectF marked(0, 0, font.horizontalAdvance(text) + 2 * metrics::selectionPadding,
        std::min<double>(font.height(), room.height() - 2 * metrics::focusLine - 2));
    marked.moveCenter(room.center());
    painter.setPen(Qt::NoPen);
    painter.setBrush(_theme.selectionFill);
    painter.drawRoundedRect(marked, metrics::selectionRadius, metrics::selectionRadius);
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
