// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/LauncherWidget.h"

#include "shell/EscapeRule.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace vellumhound::shell {

namespace metrics = ui::metrics;
using keyboard::FocusArea;

LauncherWidget::LauncherWidget(
    LauncherView &view, keyboard::KeyEquivalents &keyEquivalents, QWidget *parent)
    : QWidget(parent)
    , _view(view)
    , _search(new screens::FileSearchWidget(
          view.fileSearchView(), view.model(), view.focusedArea(), this))
    , _home(new actions::AppActionsWidget(this))
    , _browser(new screens::FileBrowserWidget(
          view.fileBrowserView(), view.model(), view.focusedArea(), this))
{
    setObjectName(QStringLiteral("LauncherView"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, metrics::defaultPadding, 0, 0);
    layout->setSpacing(0);
    auto *searchRow = new QHBoxLayout;
    searchRow->setContentsMargins(metrics::panelPadding, 0, metrics::panelPadding, 0);
    searchRow->addWidget(_search);
    layout->addLayout(searchRow);
    layout->addSpacing(metrics::searchToSeparator + 1);  // the line stands in the last pixel
    // The pages reach the edges of the panel.
    layout->addWidget(_home, 1);
    layout->addWidget(_browser, 1);
    _home->hide();
    _browser->hide();

    connect(&_view, &LauncherView::contentChanged, this, &LauncherWidget::showPage);
    connect(&_view.focusedArea(), &keyboard::FocusState::areaWritten, this,
        &LauncherWidget::followFocus);
    connect(&_home->list(), &ui::RowList::focusedByMouse, this,
        [this] { _view.focusedArea().setArea(FocusArea::results); });
    _clearKey = keyEquivalents.add(
        {{}, base::KeyCode::escape, 0},
        [this] { return isVisible() && escapeEffect(_view) == EscapeEffect::clearSearch; },
        [this] { _view.fileSearchView().clear(); });
    showPage();
}

QSize LauncherWidget::sizeHint() const
{
    return {metrics::panelWidth, metrics::panelHeight};
}

void LauncherWidget::setTheme(const ui::Theme &theme)
{
    _theme = theme;
    _search->setTheme(theme);
    _browser->setTheme(theme);
    update();
}

QWidget *LauncherWidget::currentPage()
{
    switch (_view.content()) {
    case LauncherContent::home:
        return _home;
    case LauncherContent::browser:
        return _browser;
    case LauncherContent::onboarding:
    case LauncherContent::palette:
        break;
    }
    return nullptr;
}

QWidget *LauncherWidget::focusTarget()
{
    const auto area = _view.focusedArea().area();
    if (area == FocusArea::search)
        return &_search->field();
    if (area != FocusArea::results)
        return nullptr;
    if (currentPage() == _home)
        return &_home->list();
    return currentPage() == _browser ? &_browser->list() : nullptr;
}

void LauncherWidget::showPage()
{
    auto *page = currentPage();
    if (!page || !page->isHidden())
        return;
    // The new page takes the focus before the old one hides, or Qt would hand it to a neighbour.
    page->show();
    if (auto *target = focusTarget())
        target->setFocus(Qt::OtherFocusReason);
    for (QWidget *other : {static_cast<QWidget *>(_home), static_cast<QWidget *>(_browser)}) {
        if (other != page)
            other->hide();
    }
}

void LauncherWidget::followFocus()
{
    if (auto *target = focusTarget())
        target->setFocus(Qt::OtherFocusReason);
}

void LauncherWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const int line =
        metrics::defaultPadding + metrics::searchRowHeight + metrics::searchToSeparator;
    painter.fillRect(0, line, width(), 1, _theme.separator);
}

void LauncherWidget::keyPressEvent(QKeyEvent *event)
{
    const bool isEscape = event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier;
    if (!isEscape)
        QWidget::keyPressEvent(event);
    else if (escapeEffect(_view) == EscapeEffect::giveUpKey)
        Q_EMIT escapeNotTaken();
}

bool LauncherWidget::focusNextPrevChild(bool)
{
    return true;  // a Tab that no handler took does nothing
}

}  // namespace vellumhound::shell
