// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/MainQueue.h"
#include "keyboard/FocusArea.h"

#include <QObject>

#include <optional>

namespace vellumhound::keyboard {

/// The focus of the panel as state: which area holds it, if any. The toolkit's focus follows this
/// value and writes back only where a person clicks. Owned by the root view; main thread.
///
/// A write takes effect in the next turn, in the order asked, so that a key handler which moves the
/// focus and then changes the text changes it while the focus is still where it was.
class FocusState final : public QObject {
    Q_OBJECT

public:
    explicit FocusState(base::MainQueue &queue, QObject *parent = nullptr);

    std::optional<FocusArea> area() const { return _area; }
    bool isContainerFocused() const { return _area.has_value(); }

    /// Asks for `area` in the next turn.
    void setArea(std::optional<FocusArea> area);
    /// The screen that holds the focus has left the panel: the area is absent from now on. Without
    /// effect while `area` does not hold the focus.
    void areaLeft(FocusArea area);

Q_SIGNALS:
    /// After the area differs.
    void areaChanged();
    /// After each write has taken effect, also of an equal value: the box places its caret again.
    void areaWritten();
    /// After the area has become present or absent.
    void containerFocusChanged();

private:
    void apply(std::optional<FocusArea> area);

    base::MainQueue &_queue;
    std::optional<FocusArea> _area;
};

}  // namespace vellumhound::keyboard
