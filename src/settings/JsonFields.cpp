// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/JsonFields.h"

#include "base/NativePath.h"

#include <cmath>
#include <limits>
#include <string>

using namespace Qt::StringLiterals;

namespace vellumhound::settings {

namespace {

constexpr int deepestKept = 16;

template <class Number> bool fits(Number number)
{
    return number >= Number(std::numeric_limits<int>::min()) &&
           number <= Number(std::numeric_limits<int>::max());
}

/// JSON has one kind of number: 5.0 is the integer 5 to whoever wrote it.
std::optional<int> integerIn(const JsonValue &json)
{
    if (json.is_number_unsigned()) {
        const auto number = json.get<std::uint64_t>();
        return number <= std::uint64_t(std::numeric_limits<int>::max()) ? std::optional(int(number))
                                                                        : std::nullopt;
    }
    if (json.is_number_integer()) {
        const auto number = json.get<std::int64_t>();
        return fits(number) ? std::optional(int(number)) : std::nullopt;
    }
    if (json.is_number_float()) {
        const auto number = json.get<double>();
        return fits(number) && std::trunc(number) == number ? std::optional(int(number))
                                                            : std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

base::Result<JsonValue> parsedJson(const QByteArray &bytes)
{
    const auto isKept = [](int depth, JsonValue::parse_event_t, JsonValue &) {
        return depth <= deepestKept;
    };
    auto parsed = JsonValue::parse(bytes.begin(), bytes.end(), isKept, /*allow_exceptions=*/false);
    // The parser takes a zero byte for the end; a file cut by a crash may hold some behind the
    // rest.
    if (parsed.is_discarded() || bytes.contains('\0'))
        return base::Error{u"The data is not valid JSON."_s};
    return parsed;
}

base::Result<QByteArray> writtenJson(const OrderedJson &value)
{
    try {
        return QByteArray::fromStdString(value.dump());
    } catch (const OrderedJson::exception &) {
        return base::Error{u"A text of the record has no UTF-8 form."_s};
    }
}

ReadFailure readJson(const JsonValue &json, bool &into)
{
    if (!json.is_boolean())
        return base::Error{u"Expected a boolean."_s};
    into = json.get<bool>();
    return std::nullopt;
}

ReadFailure readJson(const JsonValue &json, int &into)
{
    const auto number = integerIn(json);
    if (!number)
        return base::Error{u"Expected an integer."_s};
    into = *number;
    return std::nullopt;
}

ReadFailure readJson(const JsonValue &json, QString &into)
{
    if (!json.is_string())
        return base::Error{u"Expected a text."_s};
    into = QString::fromStdString(json.get_ref<const std::string &>());
    return std::nullopt;
}

OrderedJson toJson(const QString &text)
{
    // Undecodable bytes of a path stay what they are, so that writing refuses them instead of
    // storing another path.
    return base::pathToBytes(text).toStdString();
}

FieldReader::FieldReader(const JsonValue &object)
    : _object(object)
{
    if (!object.is_object())
        _failure = base::Error{u"Expected an object."_s};
}

const JsonValue *FieldReader::find(const char *name) const
{
    if (!_object.is_object())
        return nullptr;
    const auto found = _object.find(name);
    return found != _object.end() && !found->is_null() ? &*found : nullptr;
}

}  // namespace vellumhound::settings
