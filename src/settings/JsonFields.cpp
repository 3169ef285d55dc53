// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/JsonFields.h"

#include "base/NativePath.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::settings {

namespace {

constexpr int deepestKept = 16;

/// JSON has one kind of number: 5.0 is the integer 5 to whoever wrote it.
std::optional<std::int64_t> integerIn(const JsonValue &json)
{
    constexpr double beyond = 9223372036854775808.0;  // two to the power of 63
    if (json.is_number_unsigned()) {
        const auto number = json.get<std::uint64_t>();
        return number <= std::uint64_t(std::numeric_limits<std::int64_t>::max())
                   ? std::optional(std::int64_t(number))
                   : std::nullopt;
    }
    if (json.is_number_integer())
        return json.get<std::int64_t>();
    if (json.is_number_float()) {
        const auto number = json.get<double>();
        return number >= -beyond && number < beyond && std::trunc(number) == number
                   ? std::optional(std::int64_t(number))
                   : std::nullopt;
    }
    return std::nullopt;
}

// The parser takes no lone surrogate. While it runs, an undecodable byte stands in a text as a zero
// character and the character with the byte's number; a zero character itself is doubled.

constexpr QByteArrayView zeroEscape("\\u0000");

/// The code of the escape \uXXXX at `at`; absent if there is none.
std::optional<uint> escapedCode(const QByteArray &json, qsizetype at)
{
    constexpr qsizetype length = 6;
    if (json.size() - at < length || json[at] != '\\' || json[at + 1] != 'u')
        return std::nullopt;
    const auto digits = json.mid(at + 2, length - 2);
    const bool areDigits = std::all_of(digits.begin(), digits.end(),
        [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
    return areDigits ? std::optional(digits.toUInt(nullptr, 16)) : std::nullopt;
}

bool isEscapedByte(uint code)
{
    return code >= 0xDC80 && code <= 0xDCFF;
}

QByteArray withMarkedBytes(const QByteArray &json)
{
    if (!json.contains("\\u"))
        return json;
    QByteArray marked;
    marked.reserve(json.size());
    for (qsizetype i = 0; i < json.size();) {
        const auto code = escapedCode(json, i);
        if (!code) {
            // Of any other escape the second character begins none.
            const qsizetype length = json[i] == '\\' ? 2 : 1;
            marked += json.mid(i, length);
            i += length;
            continue;
        }
        const bool isPair = QChar::isHighSurrogate(*code) &&
                            QChar::isLowSurrogate(escapedCode(json, i + 6).value_or(0));
        const qsizetype length = isPair ? 12 : 6;
        if (isEscapedByte(*code))
            marked += zeroEscape.toByteArray() + "\\u00" + json.mid(i + 4, 2);
        else
            marked += *code == 0 ? zeroEscape.toByteArray() + zeroEscape.toByteArray()
                                 : json.mid(i, length);
        i += length;
    }
    return marked;
}

QString withoutMarks(const QString &text)
{
    if (!text.contains(QChar(0)))
        return text;
    QString plain;
    plain.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != QChar(0) || i + 1 == text.size()) {
            plain += text[i];
            continue;
        }
        const auto next = text[++i].unicode();
        plain += next == 0 ? QChar(0) : QChar(char16_t(0xDC00 + next));
    }
    return plain;
}

QByteArray escapeOf(char16_t c)
{
    switch (c) {
    case u'"':
        return "\\\"";
    case u'\\':
        return "\\\\";
    case u'\b':
        return "\\b";
    case u'\f':
        return "\\f";
    case u'\n':
        return "\\n";
    case u'\r':
        return "\\r";
    case u'\t':
        return "\\t";
    default:
        return "\\u" + QByteArray::number(c, 16).rightJustified(4, '0');
    }
}

void writeText(const std::string &bytes, QByteArray &into)
{
    const auto text = base::pathFromBytes(bytes);
    into += '"';
    qsizetype written = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const auto c = text[i].unicode();
        if (text[i].isHighSurrogate()) {
            ++i;
        } else if (c < 0x20 || c == u'"' || c == u'\\' || isEscapedByte(c)) {
            into += QStringView(text).mid(written, i - written).toUtf8() + escapeOf(c);
            written = i + 1;
        }
    }
    into += QStringView(text).mid(written).toUtf8() + '"';
}

void write(const OrderedJson &value, QByteArray &into)
{
    if (value.is_string()) {
        writeText(value.get_ref<const std::string &>(), into);
    } else if (value.is_object()) {
        char separator = '{';
        for (const auto &[name, field] : value.items()) {
            into += std::exchange(separator, ',');
            writeText(name, into);
            into += ':';
            write(field, into);
        }
        into += separator == '{' ? "{}" : "}";
    } else if (value.is_array()) {
        char separator = '[';
        for (const auto &element : value) {
            into += std::exchange(separator, ',');
            write(element, into);
        }
        into += separator == '[' ? "[]" : "]";
    } else {
        into += QByteArray::fromStdString(value.dump());
    }
}

}  // namespace

base::Result<JsonValue> parsedJson(const QByteArray &bytes)
{
    const auto isKept = [](int depth, JsonValue::parse_event_t, JsonValue &) {
        return depth <= deepestKept;
    };
    const auto marked = withMarkedBytes(bytes);
    auto parsed =
        JsonValue::parse(marked.begin(), marked.end(), isKept, /*allow_exceptions=*/false);
    // The parser takes a zero byte for the end; a file cut by a crash may hold some behind the
    // rest.
    if (parsed.is_discarded() || bytes.contains('\0'))
        return base::Error{u"The data is not valid JSON."_s};
    return parsed;
}

QByteArray writtenJson(const OrderedJson &value)
{
    QByteArray text;
    write(value, text);
    return text;
}

ReadFailure readJson(const JsonValue &json, bool &into)
{
    if (!json.is_boolean())
        return base::Error{u"Expected a boolean."_s};
    into = json.get<bool>();
    return std::nullopt;
}

ReadFailure readJson(const JsonValue &json, std::int64_t &into)
{
    const auto number = integerIn(json);
    if (!number)
        return base::Error{u"Expected an integer."_s};
    into = *number;
    return std::nullopt;
}

ReadFailure readJson(const JsonValue &json, int &into)
{
    std::int64_t number = 0;
    if (auto failure = readJson(json, number))
        return failure;
    if (!std::in_range<int>(number))
        return base::Error{u"Expected a smaller integer."_s};
    into = int(number);
    return std::nullopt;
}

ReadFailure readJson(const JsonValue &json, QString &into)
{
    if (!json.is_string())
        return base::Error{u"Expected a text."_s};
    into = withoutMarks(QString::fromStdString(json.get_ref<const std::string &>()));
    return std::nullopt;
}

OrderedJson toJson(const QString &text)
{
    // Undecodable bytes of a path stay what they are until the text is written.
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
