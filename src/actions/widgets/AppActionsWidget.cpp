// SPDX-License-Identifier: GPL-3.0-or-later
#include "actions/widgets/AppActionsWidget.h"

#include <QVBoxLayout>

namespace vellumhound::actions {

AppActionsWidget::AppActionsWidget(QWidget *parent)
    : QWidget(parent)
    , _list(new ui::RowList(this))
{
    setObjectName(QStringLiteral("homePage"));
    _list->setObjectName(QStringLiteral("homeList"));
    _list->setAccessibleName(QStringLiteral("Home"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(_list);
}

}  // namespace vellumhound::actions
