// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "actions/AppActionsView.h"
#include "ui/widgets/RowList.h"

#include <QWidget>

namespace vellumhound::actions {

/// Shows AppActionsView: an empty list that can hold the focus.
class AppActionsWidget final : public QWidget {
    Q_OBJECT

public:
    explicit AppActionsWidget(QWidget *parent = nullptr);

    ui::RowList &list() { return *_list; }

private:
    ui::RowList *_list;
};

}  // namespace vellumhound::actions
