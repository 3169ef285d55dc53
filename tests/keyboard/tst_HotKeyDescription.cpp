// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/HotKeyDescription.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
using platform::HotKeyFacility;
using platform::HotKeyReport;
using State = HotKeyDescription::State;
using ReportState = HotKeyReport::State;

namespace {

HotKeySituation controlSpace()
{
    HotKeySituation situation;
    situation.name = u"launchVellumhound"_s;
    situation.shortcutText = u"⌃Space"_s;
    situation.modifiers = platform::HotKeyModifiers::control;
    situation.texts = {
        u"Ctrl+Space"_s, u"<Control>space"_s, u"Ctrl+space"_s, u"CTRL, space"_s, u"space"_s};
    situation.isSupported = true;
    situation.isDesktopEntryInstalled = true;
    situation.command = u"vellumhound"_s;
    return situation;
}

HotKeySituation reported(ReportState state, HotKeyFacility facility)
{
    auto situation = controlSpace();
    situation.report.state = state;
    situation.report.facility = facility;
    return situation;
}

}  // namespace

class tst_HotKeyDescription : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsSentence_data()
    {
        QTest::addColumn<HotKeySituation>("situation");
        QTest::addColumn<State>("state");
        QTest::addColumn<QString>("sentence");
        const auto row = [](const char *name, const HotKeySituation &situation, State state,
                             const QString &sentence) {
            QTest::newRow(name) << situation << state << sentence;
        };
        HotKeySituation none;
        none.name = u"launchVellumhound"_s;
        row("none", none, State::withoutShortcut, u"No shortcut is set."_s);
        row("X11", reported(ReportState::active, HotKeyFacility::x11), State::active,
            u"⌃Space works in every program, through X11."_s);
        row("KDE", reported(ReportState::active, HotKeyFacility::kGlobalAccel), State::active,
            u"⌃Space works in every program, through KDE's global shortcuts."_s);
        auto other = reported(ReportState::active, HotKeyFacility::portal);
        other.report.trigger = u"Press <Alt>space"_s;
        row("another key by the portal", other, State::active,
            u"Press <Alt>space works in every program, through the desktop portal."_s);
        row("portal waits", reported(ReportState::waiting, HotKeyFacility::portal), State::waiting,
            u"⌃Space is asked for; the desktop portal has not answered yet."_s);
        row("nobody knows yet", reported(ReportState::waiting, HotKeyFacility::none),
            State::waiting, u"⌃Space is asked for; the desktop has not answered yet."_s);
        row("not asked for", reported(ReportState::unknown, HotKeyFacility::none), State::waiting,
            u"⌃Space is not in use at this moment."_s);
        row("taken", reported(ReportState::taken, HotKeyFacility::x11), State::taken,
            u"⌃Space belongs to another program. Choose another shortcut here, or free the key "
            "there."_s);
        auto held = reported(ReportState::taken, HotKeyFacility::kGlobalAccel);
        held.report.holder = u"KRunner"_s;
        row("taken by somebody", held, State::taken,
            u"⌃Space belongs to KRunner. Choose another shortcut here, or free the key there."_s);
        auto refused = reported(ReportState::refused, HotKeyFacility::x11);
        refused.report.status = 2;
        row("refused", refused, State::refused, u"X11 did not give ⌃Space (error 2)."_s);
        refused.report.facility = HotKeyFacility::portal;
        refused.report.trigger = u"%3"_s;
        row("refused with signs", refused, State::refused,
            u"The desktop portal did not give %3 (error 2)."_s);
        refused.report.facility = HotKeyFacility::none;
        refused.report.trigger.clear();
        row("refused by nobody", refused, State::refused,
            u"The desktop did not give ⌃Space (error 2)."_s);
        auto unsupported = controlSpace();
        unsupported.isSupported = false;
        unsupported.desktopNames = QStringList{u"sway"_s};
        row("no facility", unsupported, State::toBeSetInDesktop,
            u"sway gives no program a key of its own. ⌃Space can be set in the desktop's "
            "settings."_s);
        unsupported.report.state = ReportState::refused;
        unsupported.desktopNames.clear();
        row("no facility, refused", unsupported, State::toBeSetInDesktop,
            u"This desktop gives no program a key of its own. ⌃Space can be set in the desktop's "
            "settings."_s);
        auto unassigned = reported(ReportState::unassigned, HotKeyFacility::portal);
        unassigned.desktopNames = QStringList{u"Hyprland"_s};
        row("no key yet", unassigned, State::toBeSetInDesktop,
            u"Hyprland knows what ⌃Space is to do, but has no key for it yet."_s);
        auto set = unsupported;
        set.isSetInDesktop = true;
        set.desktopNames = QStringList{u"GNOME"_s};
        row("set by us", set, State::active, u"⌃Space is set in the settings of GNOME."_s);
        auto both = reported(ReportState::active, HotKeyFacility::portal);
        both.isSetInDesktop = true;
        row("set by us and given", both, State::active,
            u"⌃Space works in every program, through the desktop portal."_s);
    }
    void everyStateHasItsSentence()
    {
        QFETCH(HotKeySituation, situation);
        QFETCH(State, state);
        QFETCH(QString, sentence);

        const auto description = describeHotKey(situation);

        QCOMPARE(description.state, state);
        QCOMPARE(description.sentence, sentence);
        QCOMPARE(description.name, situation.name);
        QCOMPARE(description.instructions.where.isEmpty(),
            state != State::toBeSetInDesktop && state != State::refused);
    }

    void theSettingIsThatOfTheDesktop()
    {
        auto situation = controlSpace();
        situation.isSupported = false;
        situation.desktopNames = QStringList{u"sway"_s};

        QCOMPARE(describeHotKey(situation).instructions.lines,
            QStringList{u"bindsym Ctrl+space exec vellumhound"_s});
        QCOMPARE(describeHotKey(situation).facility, QString());
    }

    void aKeyThatLacksItsDesktopEntryIsToldSo()
    {
        const auto note = u"The desktop entry of Vellumhound is not installed; the desktop portal "
                          "gives keys only to programs that have one."_s;
        auto situation = reported(ReportState::refused, HotKeyFacility::portal);
        situation.isWayland = true;
        QCOMPARE(describeHotKey(situation).note, QString());

        situation.isDesktopEntryInstalled = false;
        QCOMPARE(describeHotKey(situation).note, note);

        situation.isSupported = false;
        QCOMPARE(describeHotKey(situation).note, note);

        situation.isWayland = false;
        QCOMPARE(describeHotKey(situation).note, QString());

        situation.isWayland = true;
        situation.report.state = ReportState::active;
        QCOMPARE(describeHotKey(situation).note, QString());
    }

    void altWithALetterCoversMenus_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("note");
        QTest::newRow("Alt+S") << u"s"_s << 0x800
                               << u"Alt+X opens a menu in many programs; while it is ours, those "
                                  "menus do not hear it."_s;
        QTest::newRow("Alt+space") << u"space"_s << 0x800 << QString();
        QTest::newRow("Ctrl+Alt+S") << u"s"_s << 0x1800 << QString();
        QTest::newRow("Alt and nothing") << QString() << 0x800 << QString();
    }
    void altWithALetterCoversMenus()
    {
        QFETCH(QString, key);
        QFETCH(int, modifiers);
        QFETCH(QString, note);
        auto situation = reported(ReportState::active, HotKeyFacility::x11);
        situation.modifiers = modifiers;
        situation.texts.qt = u"Alt+X"_s;
        situation.texts.xkbKey = key;

        QCOMPARE(describeHotKey(situation).note, note);
    }

    void theThreeNamesSayWhatTheyDo()
    {
        QCOMPARE(hotKeyLabel(u"launchVellumhound"_s), u"Show the panel"_s);
        QCOMPARE(hotKeyLabel(u"loadSelectedFilesFromFinder"_s), u"Load the selected files"_s);
        QCOMPARE(hotKeyLabel(u"browseFinderWindows"_s), u"Browse the file manager's windows"_s);
        QCOMPARE(hotKeyLabel(u"other"_s), u"other"_s);
        QCOMPARE(hotKeyAction(u"launchVellumhound"_s), QString());
        QCOMPARE(hotKeyAction(u"loadSelectedFilesFromFinder"_s), u"selected-files"_s);
        QCOMPARE(hotKeyAction(u"browseFinderWindows"_s), u"browse-windows"_s);
    }
};

QTEST_GUILESS_MAIN(tst_HotKeyDescription)
#include "tst_HotKeyDescription.moc"
