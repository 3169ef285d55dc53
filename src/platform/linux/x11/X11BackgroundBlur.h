// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/BackgroundBlur.h"

#include <QAbstractNativeEventFilter>

#include <cstdint>
#include <memory>

namespace vellumhound::platform {

/// The blur of KWin on X11: a property of the root window announces it, and a property of the same
/// name on a window asks for it.
class X11BackgroundBlur final : public BackgroundBlur, private QAbstractNativeEventFilter {
public:
    /// Null on other window systems. Needs the application object.
    static std::unique_ptr<X11BackgroundBlur> create(Changed changed);
    ~X11BackgroundBlur() override;

    bool isOffered() const override { return _isOffered; }
    void blurBehind(QWindow &window, const QRegion &region) override;

private:
    explicit X11BackgroundBlur(Changed changed);
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override;
    bool isAnnounced() const;

    const Changed _changed;
    const std::uint32_t _atom;
    bool _isOffered;
};

}  // namespace vellumhound::platform
