// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <utility>
#include <variant>

namespace vellumhound::base {

/// Why something expected to fail now and then did fail, as a sentence for a log line.
struct Error {
    QString description;

    bool operator==(const Error &) const = default;
};

/// A value, or the reason why there is none. Handled once, where somebody can do something.
template <class T> class Result {
public:
    Result(T value)
        : _state(std::in_place_index<0>, std::move(value))
    {
    }
    Result(Error error)
        : _state(std::in_place_index<1>, std::move(error))
    {
    }

    explicit operator bool() const { return _state.index() == 0; }
    /// Only while the result holds a value.
    const T &value() const & { return std::get<0>(_state); }
    T value() && { return std::get<0>(std::move(_state)); }
    /// Only while the result holds an error.
    const Error &error() const { return std::get<1>(_state); }

private:
    std::variant<T, Error> _state;
};

/// A result of something that gives nothing back.
using Outcome = Result<std::monostate>;

}  // namespace vellumhound::base
