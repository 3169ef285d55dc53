// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/TooltipModifier.h"

#include "base/widgets/Symbols.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QScreen>

#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::ui {

namespace {
constexpr int buttonFrame = 16;
constexpr int spacing = 4;
constexpr int popoverText = 13;
constexpr int popoverWidth = 250;  // of the text
constexpr int popoverPadding = 12;
}  // namespace

class TooltipModifier::Button final : public QAbstractButton {
public:
    Button(const QString &help, QWidget *parent)
        : QAbstractButton(parent)
    {
        setObjectName(u"tooltipButton"_s);
        setAccessibleName(tr("Help"));
        setAccessibleDescription(help);
        setFocusPolicy(Qt::TabFocus);
        setCursor(Qt::ArrowCursor);
        setFixedSize(buttonFrame, buttonFrame);
    }
    void setTheme(const Theme &theme)
    {
        _symbol = theme.secondaryText;
        _focus = theme.accent;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setOpacity(isDown() ? metrics::pressedOpacity : 1);
        base::paintSymbol(painter, rect(), u"questionmark.circle"_s, _symbol);
        if (!hasFocus())
            return;
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(_focus);
        painter.drawEllipse(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }

private:
    QColor _symbol;
    QColor _focus;
};

/// A window of its own, closed by the toolkit when the user turns elsewhere.
class TooltipModifier::Popover final : public QWidget {
public:
    Popover(const QString &text, const Theme &theme, QWidget *parent)
        : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint)
    {
        setObjectName(u"tooltipPopover"_s);
        // Or the click on the button that closes the text would open it again.
        setAttribute(Qt::WA_NoMouseReplay);
        setAccessibleName(text);
        setPalette(theme.palette());
        auto *label = new QLabel(text, this);
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->setAlignment(Qt::AlignLeading | Qt::AlignTop);
        label->setFont(theme.font(popoverText));
        label->setFixedWidth(popoverWidth);
        auto *layout = new QHBoxLayout(this);
        layout->setContentsMargins(popoverPadding, popoverPadding, popoverPadding, popoverPadding);
        layout->addWidget(label);
        _line = theme.separator;
    }
    std::function<void()> onHide;

protected:
    void hideEvent(QHideEvent *event) override
    {
        QWidget::hideEvent(event);
        if (const auto hidden = std::exchange(onHide, nullptr))
            hidden();
    }
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);  // a line of one pixel at every scale
        painter.setPen(_line);
        painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }

private:
    QColor _line;
};

namespace {

/// Below the button and centred on it, as far as the screen has room; else above.
QPoint placeOf(const QSize &popover, const QWidget &button)
{
    const QRect anchor(button.mapToGlobal(QPoint(0, 0)), button.size());
    const auto *screen = button.screen();
    const QRect room = screen ? screen->availableGeometry() : anchor;
    const int x = anchor.center().x() - popover.width() / 2;
    const int right = room.right() + 1 - popover.width();
    int y = anchor.bottom() + 1 + spacing;
    if (y + popover.height() > room.bottom() + 1)
        y = anchor.top() - spacing - popover.height();
    return {qMax(room.left(), qMin(x, right)), qMax(room.top(), y)};
}

}  // namespace

TooltipModifier::TooltipModifier(
    QWidget *content, const QString &tooltipText, const Theme &theme, QWidget *parent)
    : QWidget(parent)
    , _tooltipText(tooltipText)
    , _theme(theme)
    , _button(new Button(tooltipText, this))
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    layout->addWidget(content, 0, Qt::AlignVCenter);
    layout->addWidget(_button, 0, Qt::AlignVCenter);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    _button->setTheme(theme);
    connect(_button, &QAbstractButton::clicked, this,
        [this] { setTooltipVisible(!isTooltipVisible()); });
}

TooltipModifier::~TooltipModifier()
{
    if (_popover)
        _popover->onHide = nullptr;
}

QAbstractButton &TooltipModifier::button() const
{
    return *_button;
}

void TooltipModifier::setTheme(const Theme &theme)
{
    if (theme == _theme)
        return;
    _theme = theme;
    _button->setTheme(theme);
}

void TooltipModifier::setTooltipVisible(bool isVisible)
{
    if (isVisible == isTooltipVisible())
        return;
    if (!isVisible) {
        _popover->close();
        return;
    }
    _popover = new Popover(_tooltipText, _theme, this);
    _popover->onHide = [this] {
        std::exchange(_popover, nullptr)->deleteLater();
        Q_EMIT tooltipVisibleChanged();
    };
    _popover->adjustSize();
    _popover->move(placeOf(_popover->size(), *_button));
    _popover->show();
    Q_EMIT tooltipVisibleChanged();
}

}  // namespace vellumhound::ui
