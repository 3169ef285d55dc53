// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/FocusState.h"

#include <QPointer>

namespace vellumhound::keyboard {

FocusState::FocusState(base::MainQueue &queue, QObject *parent)
    : QObject(parent)
    , _queue(queue)
{
}

void FocusState::setArea(std::optional<FocusArea> area)
{
    _queue.post([self = QPointer(this), area] {
        if (!self)
            return;
        self->apply(area);
        Q_EMIT self->areaWritten();
    });
}

void FocusState::areaLeft(FocusArea area)
{
    if (_area == area)
        apply(std::nullopt);
}

void FocusState::apply(std::optional<FocusArea> area)
{
    if (area == _area)
        return;
    const bool containerChanges = area.has_value() != _area.has_value();
    _area = area;
    Q_EMIT areaChanged();
    if (containerChanges)
        Q_EMIT containerFocusChanged();
}

}  // namespace vellumhound::keyboard
