// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

struct zwp_relative_pointer_v1;

namespace vellumhound::platform {

class WaylandConnection;

/// Tells how far the pointer moves, whatever is below it: places on a window that itself moves with
/// the pointer mean one thing to one compositor and another to the next. Main thread.
class PointerMotion {
public:
    using Moved = std::function<void(double dx, double dy)>;  ///< in pixels of the output

    /// Null where the compositor tells nothing of the kind.
    static std::unique_ptr<PointerMotion> follow(WaylandConnection &connection, Moved moved);
    ~PointerMotion();
    PointerMotion(const PointerMotion &) = delete;
    PointerMotion &operator=(const PointerMotion &) = delete;

private:
    PointerMotion(zwp_relative_pointer_v1 *object, Moved moved);

    zwp_relative_pointer_v1 *_object;
    const Moved _moved;
};

}  // namespace vellumhound::platform
