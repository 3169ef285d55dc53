// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

class QRegion;
class QWindow;

namespace vellumhound::platform {

/// Asks the compositor to blur what is behind a translucent window. Main thread.
class BackgroundBlur {
public:
    using Changed = std::function<void()>;

    virtual ~BackgroundBlur() = default;

    /// Whether the compositor announces that it blurs. Each change is reported to the handler that
    /// the object was made with.
    virtual bool isOffered() const = 0;
    /// Blurs behind `region`, in device-independent pixels of the window, and nowhere else. A
    /// native window that is new, or shown again, must be asked for again.
    virtual void blurBehind(QWindow &window, const QRegion &region) = 0;
};

}  // namespace vellumhound::platform
