// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Timer.h"

#include <QTimer>

#include <utility>

namespace vellumhound::base {

namespace {

class QtWait final : public Timer::Wait {
public:
    QtWait(std::chrono::milliseconds delay, std::function<void()> block)
    {
        _timer.setSingleShot(true);
        // A twentieth of the delay, as coarse timers have it, is more than the panel takes to
        // appear.
        _timer.setTimerType(Qt::PreciseTimer);
        _timer.callOnTimeout([block = std::move(block)] {
            auto kept = block;  // the block may destroy this wait
            kept();
        });
        _timer.start(delay);
    }

private:
    QTimer _timer;
};

}  // namespace

std::unique_ptr<Timer::Wait> EventLoopTimer::after(
    std::chrono::milliseconds delay, std::function<void()> block)
{
    return std::make_unique<QtWait>(delay, std::move(block));
}

}  // namespace vellumhound::base
