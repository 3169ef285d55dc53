// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"

#include <QString>

#include <functional>
#include <list>
#include <memory>

namespace vellumhound::keyboard {

/// A key with which a visible button is pressed.
struct KeyEquivalent {
    QString letter;  ///< lower-case letter or sign; empty if the key code decides
    int keyCode = base::KeyCode::unknown;  ///< asked only while `letter` is empty
    std::uint32_t modifiers = 0;           ///< the exact set of base::ModifierFlags

    bool operator==(const KeyEquivalent &) const = default;
};

/// The keys of the buttons on screen. Only keys that the handlers of KeyboardMonitor passed on get
/// here. Main thread.
class KeyEquivalents {
    struct Entry {
        KeyEquivalent key;
        std::function<bool()> isAvailable;
        std::function<void()> press;
    };
    using Entries = std::list<Entry>;

public:
    /// Takes the button's key away when destroyed.
    class Registration {
    public:
        Registration(const std::shared_ptr<Entries> &entries, Entries::iterator entry);
        ~Registration();
        Q_DISABLE_COPY_MOVE(Registration)

    private:
        std::weak_ptr<Entries> _entries;
        Entries::iterator _entry;
    };

    /// `isAvailable` tells whether the button can be pressed at this moment; where several have the
    /// same key, the first one that can be pressed is.
    [[nodiscard]] std::unique_ptr<Registration> add(
        const KeyEquivalent &key, std::function<bool()> isAvailable, std::function<void()> press);
    /// Presses the button of this key; false if there is none.
    bool perform(const base::KeyEvent &event) const;

private:
    std::shared_ptr<Entries> _entries = std::make_shared<Entries>();
};

}  // namespace vellumhound::keyboard
