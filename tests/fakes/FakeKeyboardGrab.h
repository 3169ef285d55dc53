// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyboardGrab.h"

namespace vellumhound::fakes {

/// A desktop that gives the keyboard to whom it likes.
class FakeKeyboardGrab final : public platform::KeyboardGrab {
public:
    bool isWilling = true;
    int grabs = 0;              ///< asked for, refused ones included
    QWindow *window = nullptr;  ///< of the latest one

    bool isHeld() const { return !_token.expired(); }

    Token grab(QWindow *forWindow) override
    {
        ++grabs;
        window = forWindow;
        if (!isWilling)
            return nullptr;
        auto token = std::make_shared<int>(grabs);
        _token = token;
        return token;
    }

private:
    std::weak_ptr<int> _token;
};

}  // namespace vellumhound::fakes
