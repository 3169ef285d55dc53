// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Handover.h"

#include <QSocketNotifier>

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace vellumhound::base {

WakeUp::WakeUp(std::function<void()> handler, QObject *parent)
    : QObject(parent)
    , _fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , _handler(std::move(handler))
{
    if (_fd < 0)
        qFatal("no event descriptor could be made");
    _notifier = std::make_unique<QSocketNotifier>(_fd, QSocketNotifier::Read);
    connect(_notifier.get(), &QSocketNotifier::activated, this, [this] {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto bytes = ::read(_fd, &count, sizeof count);
        const auto handle = _handler;  // may destroy this object
        handle();
    });
}

WakeUp::~WakeUp()
{
    _notifier.reset();
    ::close(_fd);
}

void WakeUp::wake() const
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto bytes = ::write(_fd, &one, sizeof one);
}

}  // namespace vellumhound::base
