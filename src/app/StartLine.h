// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Timer.h"
#include "keyboard/HotKeyStatus.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <memory>

namespace vellumhound::app {

/// What runs, and how its panel comes up: by the key, if the desktop gives it. Pure.
QString startLine(const keyboard::HotKeyDescription &key);

/// Writes that line to standard output for whoever started the program from a terminal: once, as
/// soon as the desktop has said whether it gives the key, and without its answer after a while.
/// Owned by the application, main thread; the arguments outlive it.
class StartLine final : public QObject {
public:
    static constexpr std::chrono::seconds patience{2};

    /// `name` is the key that shows the panel.
    StartLine(
        keyboard::HotKeyStatus &status, keyboard::KeyboardShortcuts::Name name, base::Timer &timer);

private:
    void writeOnce();

    keyboard::HotKeyStatus &_status;
    const keyboard::KeyboardShortcuts::Name _name;
    bool _isWritten = false;
    std::unique_ptr<base::Timer::Wait> _wait;
};

}  // namespace vellumhound::app
