// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

namespace vellumhound::settings {

/// A value read: fields are looked up by name, so their order does not count (and the lookup stays
/// quick in an object with very many of them). Of two fields with one name the later counts.
using JsonValue = nlohmann::json;
/// A value to be written: fields stand in the order in which they were put.
using OrderedJson = nlohmann::ordered_json;

/// Parses one JSON value, nothing else before or behind it. What is nested deeper than any record
/// of ours is checked but not kept, so that its depth costs nothing. A byte of a path that is no
/// part of valid UTF-8 is the escape of a lone surrogate, "\udcff" for the byte 0xFF.
base::Result<JsonValue> parsedJson(const QByteArray &bytes);
/// The text without blanks, slashes plain; undecodable bytes of paths as parsedJson() reads them.
QByteArray writtenJson(const OrderedJson &value);

/// Why a value did not become what it should; nothing if it did.
using ReadFailure = std::optional<base::Error>;

/// Strict readers: a number is no boolean, a fraction no integer. `into` is changed on success
/// alone. Overloads for a type of ours stand beside that type.
ReadFailure readJson(const JsonValue &json, bool &into);
ReadFailure readJson(const JsonValue &json, std::int64_t &into);
/// Fails for an integer that is valid but does not fit.
ReadFailure readJson(const JsonValue &json, int &into);
ReadFailure readJson(const JsonValue &json, QString &into);

template <class T> ReadFailure readJson(const JsonValue &json, QList<T> &into)
{
    if (!json.is_array())
        return base::Error{QStringLiteral("Expected an array.")};
    QList<T> list;
    list.reserve(qsizetype(json.size()));
    for (const auto &element : json) {
        T value{};
        if (auto failure = readJson(element, value))
            return failure;
        list.append(std::move(value));
    }
    into = std::move(list);
    return std::nullopt;
}

OrderedJson toJson(const QString &text);

template <class T> OrderedJson toJson(const QList<T> &list)
{
    auto array = OrderedJson::array();
    for (const auto &element : list)
        array.push_back(toJson(element));
    return array;
}

/// Reads fields of one object and keeps the first failure; after it, reading has no effect.
class FieldReader {
public:
    explicit FieldReader(const JsonValue &object);

    /// Whether the object has the field, with a value other than null.
    bool has(const char *name) const { return find(name) != nullptr; }
    /// Leaves `into` as it is if the object has no such field, or null under it.
    template <class T> void optional(const char *name, T &into)
    {
        const auto *value = find(name);
        if (value && !_failure)
            _failure = readJson(*value, into);
    }
    template <class T> void required(const char *name, T &into)
    {
        if (has(name))
            optional(name, into);
        else if (!_failure)
            _failure = base::Error{QStringLiteral("Field %1 is missing.").arg(QLatin1String(name))};
    }
    /// Reads the field if it has this type; its failing is no failure of the object.
    template <class T> bool readsAs(const char *name, T &into) const
    {
        const auto *value = find(name);
        return value && !readJson(*value, into);
    }
    const ReadFailure &failure() const { return _failure; }

private:
    const JsonValue *find(const char *name) const;

    const JsonValue &_object;
    ReadFailure _failure;
};

}  // namespace vellumhound::settings
