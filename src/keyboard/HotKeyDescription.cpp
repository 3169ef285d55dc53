// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/HotKeyDescription.h"

#include "keyboard/GlobalShortcut.h"

namespace vellumhound::keyboard {

namespace {

using namespace Qt::StringLiterals;
using platform::HotKeyFacility;
using platform::HotKeyReport;
using State = HotKeyDescription::State;

QString facilityText(HotKeyFacility facility)
{
    switch (facility) {
    case HotKeyFacility::x11:
        return u"X11"_s;
    case HotKeyFacility::kGlobalAccel:
        return u"KDE's global shortcuts"_s;
    case HotKeyFacility::portal:
        return u"the desktop portal"_s;
    case HotKeyFacility::none:
        break;
    }
    return {};
}

QString capitalized(QString text)
{
    if (!text.isEmpty())
        text[0] = text[0].toUpper();
    return text;
}

State stateOf(const HotKeySituation &situation)
{
    if (situation.shortcutText.isEmpty())
        return State::withoutShortcut;
    switch (situation.report.state) {
    case HotKeyReport::State::active:
        return State::active;
    case HotKeyReport::State::unassigned:
        return State::toBeSetInDesktop;
    case HotKeyReport::State::taken:
        return State::taken;
    case HotKeyReport::State::waiting:
    case HotKeyReport::State::unknown:
    case HotKeyReport::State::refused:
        break;
    }
    // What no facility gives may stand in the desktop's settings, by us or by the user.
    if (situation.isSetInDesktop)
        return State::active;
    if (!situation.isSupported)
        return State::toBeSetInDesktop;
    return situation.report.state == HotKeyReport::State::refused ? State::refused : State::waiting;
}

QString sentenceOfActive(const HotKeySituation &situation, const HotKeyDescription &description)
{
    if (situation.report.state != HotKeyReport::State::active)
        return u"%1 is set in %2."_s.arg(description.trigger, description.facility);
    return u"%1 works in every program, through %2."_s.arg(
        description.trigger, description.facility);
}

QString sentenceOfWaiting(const HotKeySituation &situation, const HotKeyDescription &description)
{
    if (situation.report.state == HotKeyReport::State::unknown)
        return u"%1 is not in use at this moment."_s.arg(description.trigger);
    return u"%1 is asked for; %2 has not answered yet."_s.arg(description.trigger,
        description.facility.isEmpty() ? u"the desktop"_s : description.facility);
}

QString sentenceOfTaken(const HotKeyDescription &description)
{
    return u"%1 belongs to %2. Choose another shortcut here, or free the key there."_s.arg(
        description.trigger,
        description.holder.isEmpty() ? u"another program"_s : description.holder);
}

QString sentenceOfRefused(const HotKeySituation &situation, const HotKeyDescription &description)
{
    return u"%1 did not give %2 (error %3)."_s.arg(
        description.facility.isEmpty() ? u"The desktop"_s : capitalized(description.facility),
        description.trigger, QString::number(situation.report.status));
}

QString sentenceOfDesktop(const HotKeySituation &situation, const HotKeyDescription &description)
{
    const auto desktop = desktopTitle(situation.desktopNames);
    if (situation.report.state == HotKeyReport::State::unassigned)
        return u"%1 knows what %2 is to do, but has no key for it yet."_s.arg(
            desktop, description.trigger);
    return u"%1 gives no program a key of its own. %2 can be set in the desktop's settings."_s.arg(
        desktop, description.trigger);
}

QString sentenceOf(const HotKeySituation &situation, const HotKeyDescription &description)
{
    switch (description.state) {
    case State::withoutShortcut:
        return u"No shortcut is set."_s;
    case State::active:
        return sentenceOfActive(situation, description);
    case State::waiting:
        return sentenceOfWaiting(situation, description);
    case State::taken:
        return sentenceOfTaken(description);
    case State::refused:
        return sentenceOfRefused(situation, description);
    case State::toBeSetInDesktop:
        return sentenceOfDesktop(situation, description);
    }
    return {};
}

/// Alt with a letter or a digit opens a menu in most programs that have a menu bar.
bool coversMenuKeys(const HotKeySituation &situation)
{
    const auto &key = situation.texts.xkbKey;
    return situation.modifiers == platform::HotKeyModifiers::option && key.size() == 1;
}

QString noteOf(const HotKeySituation &situation, const HotKeyDescription &description)
{
    QStringList notes;
    const bool isLacking = description.state == State::refused ||
                           (description.state == State::toBeSetInDesktop &&
                               situation.report.state != HotKeyReport::State::unassigned);
    if (isLacking && situation.isWayland && !situation.isDesktopEntryInstalled) {
        notes.append(u"The desktop entry of Vellumhound is not installed; the desktop portal gives "
                     "keys only to programs that have one."_s);
    }
    if (description.state != State::withoutShortcut && coversMenuKeys(situation)) {
        notes.append(
            u"%1 opens a menu in many programs; while it is ours, those menus do not hear it."_s
                .arg(situation.texts.qt));
    }
    return notes.join(u' ');
}

DesktopKeyInstructions instructionsOf(const HotKeySituation &situation, State state)
{
    if (state != State::toBeSetInDesktop && state != State::refused)
        return {};
    return describeDesktopKeyInstructions(situation.desktopNames,
        {situation.name, hotKeyLabel(situation.name), situation.modifiers, situation.texts,
            situation.command, situation.report.state == HotKeyReport::State::unassigned});
}

}  // namespace

QString hotKeyLabel(const QString &rawValue)
{
    if (rawValue == GlobalShortcut::launchVellumhound().rawValue)
        return u"Show the panel"_s;
    if (rawValue == GlobalShortcut::loadSelectedFilesFromFinder().rawValue)
        return u"Load the selected files"_s;
    if (rawValue == GlobalShortcut::browseFinderWindows().rawValue)
        return u"Browse the file manager's windows"_s;
    return rawValue;
}

QString hotKeyAction(const QString &rawValue)
{
    if (rawValue == GlobalShortcut::loadSelectedFilesFromFinder().rawValue)
        return u"selected-files"_s;
    if (rawValue == GlobalShortcut::browseFinderWindows().rawValue)
        return u"browse-windows"_s;
    return {};
}

HotKeyDescription describeHotKey(const HotKeySituation &situation)
{
    HotKeyDescription description;
    description.name = situation.name;
    description.state = stateOf(situation);
    if (description.state != State::withoutShortcut) {
        const bool isByDesktop = description.state == State::active &&
                                 situation.report.state != HotKeyReport::State::active;
        description.facility = isByDesktop
                                   ? u"the settings of "_s + desktopTitle(situation.desktopNames)
                                   : facilityText(situation.report.facility);
        description.trigger =
            situation.report.trigger.isEmpty() ? situation.shortcutText : situation.report.trigger;
    }
    if (description.state == State::taken)
        description.holder = situation.report.holder;
    description.sentence = sentenceOf(situation, description);
    description.note = noteOf(situation, description);
    description.instructions = instructionsOf(situation, description.state);
    return description;
}

}  // namespace vellumhound::keyboard
