// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>
#include <utility>

namespace vellumhound::index {

/// An open file, closed at the end of its owner's life.
class Descriptor {
public:
    explicit Descriptor(int number = -1)
        : _number(number)
    {
    }
    ~Descriptor() { reset(); }
    Descriptor(Descriptor &&other) noexcept
        : _number(std::exchange(other._number, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(_number, other._number);
        return *this;
    }

    bool isOpen() const { return _number >= 0; }
    int number() const { return _number; }
    void reset()
    {
        if (isOpen())
            ::close(std::exchange(_number, -1));
    }

private:
    int _number;
};

}  // namespace vellumhound::index
