// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "actions/AppActionsView.h"
#include "actions/widgets/RowList.h"

#include <QWidget>

namespace vellumhound::actions {

/// Shows AppActionsView: an empty list that can hold the focus.
class AppActionsWidget final : public QWidget {
    Q_OBJECT

public:
    explicit AppActionsWidget(QWidget *parent = nullptr);

    RowList &list() { return *_list; }

private:
    RowList *_list;
};

}  // namespace vellumhound::actions
