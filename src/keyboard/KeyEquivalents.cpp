// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyEquivalents.h"

namespace vellumhound::keyboard {

namespace {

bool matches(const KeyEquivalent &key, const base::KeyEvent &event)
{
    if (key.modifiers != event.modifiers())
        return false;
    return key.letter.isEmpty() ? key.keyCode == event.keyCode : key.letter == event.equivalent;
}

}  // namespace

KeyEquivalents::Registration::Registration(
    const std::shared_ptr<Entries> &entries, Entries::iterator entry)
    : _entries(entries)
    , _entry(entry)
{
}

KeyEquivalents::Registration::~Registration()
{
    if (const auto entries = _entries.lock())
        entries->erase(_entry);
}

std::unique_ptr<KeyEquivalents::Registration> KeyEquivalents::add(
    const KeyEquivalent &key, std::function<bool()> isAvailable, std::function<void()> press)
{
    const auto entry =
        _entries->insert(_entries->end(), {key, std::move(isAvailable), std::move(press)});
    return std::make_unique<Registration>(_entries, entry);
}

bool KeyEquivalents::perform(const base::KeyEvent &event) const
{
    for (const auto &entry : *_entries) {
        if (!matches(entry.key, event) || !entry.isAvailable())
            continue;
        const auto press = entry.press;  // pressing may take the button away
        press();
        return true;
    }
    return false;
}

}  // namespace vellumhound::keyboard
