// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <optional>

namespace vellumhound::keyboard {

/// Names the element in focus for observers that want a text; no decision of the panel is made on
/// it (those are made on FocusState). Its name is given. Main thread.
class FocusManager final : public QObject {
    Q_OBJECT

public:
    std::optional<QString> focusedElementId() const { return _focusedElementId; }
    void setFocusedElementId(const std::optional<QString> &id);

Q_SIGNALS:
    void focusedElementIdChanged();

private:
    std::optional<QString> _focusedElementId;
};

}  // namespace vellumhound::keyboard
