// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/Shortcut.h"

#include "keyboard/KeyboardShortcuts/Modifiers.h"
#include "settings/JsonFields.h"

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace {
constexpr char keyCodeField[] = "carbonKeyCode";
constexpr char modifiersField[] = "carbonModifiers";
}  // namespace

Shortcut::Shortcut(Key key, std::uint32_t modifierFlags)
    : carbonKeyCode(key.rawValue)
    , carbonModifiers(carbonModifiersOf(modifierFlags))
{
}

std::optional<Shortcut> Shortcut::ofEvent(int type, const base::KeyEvent &event)
{
    const bool isOfAKey = type == EventType::keyDown || type == EventType::keyUp;
    const int keyCode = event.hotKeyCode.value_or(event.keyCode);
    if (!isOfAKey || keyCode == base::KeyCode::unknown)
        return std::nullopt;
    return Shortcut(keyCode, carbonModifiersOf(event.literalFlags));
}

std::uint32_t Shortcut::modifierFlags() const
{
    return modifierFlagsOf(carbonModifiers);
}

base::Result<QByteArray> Shortcut::encoded() const
{
    settings::OrderedJson object;
    object[keyCodeField] = carbonKeyCode;
    object[modifiersField] = carbonModifiers;
    return settings::writtenJson(object);
}

base::Result<Shortcut> Shortcut::decoded(const QByteArray &json)
{
    const auto value = settings::parsedJson(json);
    if (!value)
        return value.error();
    settings::FieldReader reader(value.value());
    Shortcut shortcut;
    reader.required(keyCodeField, shortcut.carbonKeyCode);
    reader.required(modifiersField, shortcut.carbonModifiers);
    if (const auto &failure = reader.failure())
        return *failure;
    return shortcut;
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
