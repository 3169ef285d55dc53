// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/DesktopKeyInstructions.h"
#include "platform/HotKeyCenter.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
namespace Modifiers = platform::HotKeyModifiers;

namespace {

DesktopKeyBinding controlSpace()
{
    return {u"launchVellumhound"_s, u"Show the panel"_s, Modifiers::control,
        {u"Ctrl+Space"_s, u"<Control>space"_s, u"Ctrl+space"_s, u"CTRL, space"_s, u"space"_s},
        u"vellumhound"_s, false};
}

QString lineOf(const char *desktop, const DesktopKeyBinding &binding)
{
    return describeDesktopKeyInstructions({QString::fromLatin1(desktop)}, binding).lines.value(0);
}

}  // namespace

class tst_DesktopKeyInstructions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyDesktopHasItsPlaceAndItsLine_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("where");
        QTest::addColumn<QString>("line");
        const auto row = [](const QStringList &names, const QString &title, const QString &where,
                             const QString &line) {
            QTest::newRow(qPrintable(names.join(u':'))) << names << title << where << line;
        };
        row({u"KDE"_s}, u"KDE Plasma"_s,
            u"In System Settings ▸ Shortcuts ▸ Add New ▸ Command or Script, let it run this command:"_s,
            u"vellumhound"_s);
        row({u"sway"_s}, u"sway"_s,
            u"Add this line to ~/.config/sway/config and reload it with swaymsg reload:"_s,
            u"bindsym Ctrl+space exec vellumhound"_s);
        row({u"i3"_s}, u"i3"_s,
            u"Add this line to ~/.config/i3/config and reload it with i3-msg reload:"_s,
            u"bindsym Ctrl+space exec --no-startup-id vellumhound"_s);
        row({u"Hyprland"_s}, u"Hyprland"_s, u"Add this line to ~/.config/hypr/hyprland.conf:"_s,
            u"bind = CTRL, space, exec, vellumhound"_s);
        row({u"XFCE"_s}, u"Xfce"_s,
            u"Set it in Settings ▸ Keyboard ▸ Application Shortcuts, or run this command:"_s,
            u"xfconf-query --channel xfce4-keyboard-shortcuts --property "
            "'/commands/custom/<Primary>space' --create --type string --set 'vellumhound'"_s);
        row({u"labwc"_s, u"wlroots"_s}, u"labwc"_s,
            u"Add this line to ~/.config/labwc/rc.xml, between <keyboard> and </keyboard>, and "
            "reload it with labwc --reconfigure:"_s,
            u"<keybind key=\"C-space\"><action name=\"Execute\" command=\"vellumhound\"/></keybind>"_s);
        row({u"openbox"_s}, u"Openbox"_s,
            u"Add this line to ~/.config/openbox/rc.xml, between <keyboard> and </keyboard>, and "
            "reload it with openbox --reconfigure:"_s,
            u"<keybind key=\"C-space\"><action name=\"Execute\"><command>vellumhound</command>"
            "</action></keybind>"_s);
        row({u"river"_s}, u"river"_s, u"Add this line to ~/.config/river/init, or run it:"_s,
            u"riverctl map normal Control space spawn 'vellumhound'"_s);
        row({u"niri"_s}, u"niri"_s,
            u"Add this line to ~/.config/niri/config.kdl, between binds { and }:"_s,
            u"Ctrl+space { spawn \"sh\" \"-c\" \"vellumhound\"; }"_s);
        row({u"X-Cinnamon"_s}, u"Cinnamon"_s,
            u"In System Settings ▸ Keyboard ▸ Shortcuts ▸ Custom Shortcuts, let it run this "
            "command:"_s,
            u"vellumhound"_s);
        row({u"MATE"_s}, u"MATE"_s,
            u"In Control Center ▸ Keyboard Shortcuts, let it run this command:"_s,
            u"vellumhound"_s);
        row({u"LXQt"_s}, u"LXQt"_s,
            u"In LXQt Configuration Center ▸ Shortcut Keys, let it run this command:"_s,
            u"vellumhound"_s);
        row({u"COSMIC"_s}, u"COSMIC"_s,
            u"In Settings ▸ Input Devices ▸ Keyboard ▸ View and customize shortcuts ▸ Custom, let "
            "it run this command:"_s,
            u"vellumhound"_s);
        row({}, u"This desktop"_s,
            u"In the desktop's settings for keys, let it run this command:"_s, u"vellumhound"_s);
        row({u"Unheard-of"_s}, u"This desktop"_s,
            u"In the desktop's settings for keys, let it run this command:"_s, u"vellumhound"_s);
    }
    void everyDesktopHasItsPlaceAndItsLine()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, title);
        QFETCH(QString, where);
        QFETCH(QString, line);

        const auto instructions = describeDesktopKeyInstructions(names, controlSpace());

        QCOMPARE(desktopTitle(names), title);
        QCOMPARE(instructions.where, where);
        QCOMPARE(instructions.lines, QStringList{line});
    }

    void gnomeTakesAnEntryAndItsPlaceInTheList()
    {
        const auto instructions =
            describeDesktopKeyInstructions({u"ubuntu"_s, u"GNOME"_s}, controlSpace());

        QCOMPARE(instructions.where,
            u"Set it in Settings ▸ Keyboard ▸ View and Customize Shortcuts ▸ Custom Shortcuts, or "
            "run these commands:"_s);
        const auto path = u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/"
                          "vellumhound-launchVellumhound/"_s;
        const auto entry =
            u"gsettings set org.gnome.settings-daemon.plugins.media-keys.custom-keybinding:"_s +
            path;
        QCOMPARE(instructions.lines.size(), 4);
        QCOMPARE(instructions.lines[0], entry + u" name 'Vellumhound: Show the panel'"_s);
        QCOMPARE(instructions.lines[1], entry + u" command 'vellumhound'"_s);
        QCOMPARE(instructions.lines[2], entry + u" binding '<Control>space'"_s);
        QCOMPARE(instructions.lines[3],
            u"gsettings set org.gnome.settings-daemon.plugins.media-keys custom-keybindings "
            "\"$(gsettings get org.gnome.settings-daemon.plugins.media-keys custom-keybindings | "
            "sed \"s|^@as ||; s|'"_s +
                path + u"'||; s|, ,|,|; s|, *]|]|; s|]|, '"_s + path + u"']|; s|\\[, |[|g\")\""_s);
    }

    void whatThePortalKnowsOnlyLacksAKey()
    {
        auto binding = controlSpace();
        binding.isKnownByPortal = true;

        QCOMPARE(describeDesktopKeyInstructions({u"GNOME"_s}, binding),
            (DesktopKeyInstructions{
                u"Set it in Settings ▸ Apps ▸ Vellumhound ▸ Global Shortcuts."_s, {}}));
        QCOMPARE(describeDesktopKeyInstructions({u"KDE"_s}, binding),
            (DesktopKeyInstructions{
                u"Set it in System Settings ▸ Shortcuts ▸ Vellumhound."_s, {}}));
        QCOMPARE(describeDesktopKeyInstructions({u"Hyprland"_s}, binding),
            (DesktopKeyInstructions{
                u"Add this line to ~/.config/hypr/hyprland.conf; hyprctl globalshortcuts shows the "
                "name that stands at its end:"_s,
                {u"bind = CTRL, space, global, org.vellumhound.Vellumhound:launchVellumhound"_s}}));
    }

    void everyModifierHasItsName()
    {
        auto binding = controlSpace();
        binding.modifiers |= Modifiers::option | Modifiers::shift | Modifiers::command;

        QVERIFY(lineOf("labwc", binding).contains(u"key=\"C-A-S-W-space\""_s));
        QVERIFY(lineOf("river", binding).contains(u" Control+Alt+Shift+Super space "_s));
        QVERIFY(lineOf("niri", binding).startsWith(u"Ctrl+Alt+Shift+Super+space {"_s));
    }

    void aKeyWithoutModifiersIsWrittenToo()
    {
        auto binding = controlSpace();
        binding.modifiers = 0;
        binding.texts.xkbKey = u"F12"_s;

        QVERIFY(lineOf("labwc", binding).contains(u"key=\"F12\""_s));
        QVERIFY(lineOf("river", binding).contains(u" None F12 "_s));
        QVERIFY(lineOf("niri", binding).startsWith(u"F12 {"_s));
    }

    void aKeyThatCannotBeWrittenLeavesTheCommand()
    {
        auto binding = controlSpace();
        binding.texts = {};

        for (const char *desktop : {"GNOME", "sway", "Hyprland", "XFCE", "labwc", "river", "niri"})
            QCOMPARE(lineOf(desktop, binding), u"vellumhound"_s);
    }

    void aKeyThatCannotBeWrittenIsStillSetWhereTheDesktopHasItsKeys_data()
    {
        QTest::addColumn<bool>("isClicked");
        for (const char *name :
            {"GNOME", "Budgie", "Unity", "KDE", "X-Cinnamon", "Cinnamon", "MATE", "LXQt", "COSMIC"})
            QTest::newRow(name) << true;
        for (const char *name :
            {"sway", "i3", "Hyprland", "XFCE", "labwc", "openbox", "river", "niri"})
            QTest::newRow(name) << false;
    }
    void aKeyThatCannotBeWrittenIsStillSetWhereTheDesktopHasItsKeys()
    {
        QFETCH(bool, isClicked);
        const QStringList names{QString::fromLatin1(QTest::currentDataTag())};
        auto binding = controlSpace();
        binding.texts = {};
        const auto anywhere = describeDesktopKeyInstructions({}, binding);

        const auto instructions = describeDesktopKeyInstructions(names, binding);

        QCOMPARE(instructions.where != anywhere.where, isClicked);
        QCOMPARE(instructions.lines, QStringList{u"vellumhound"_s});
    }

    void aPathWithSignsStaysOneWord()
    {
        auto binding = controlSpace();
        binding.command = u"'/opt/it'\\''s \"mine\" & <yours>/vellumhound'"_s;

        const auto gnome = describeDesktopKeyInstructions({u"GNOME"_s}, binding).lines[1];
        QVERIFY2(gnome.endsWith(u" command '\"'\\''/opt/it'\\''\\\\'\\'''\\''s \\\"mine\\\" & "
                                "<yours>/vellumhound'\\''\"'"_s),
            qPrintable(gnome));
        QVERIFY(lineOf("labwc", binding).contains(u"&quot;mine&quot; &amp; &lt;yours&gt;"_s));
        QVERIFY(lineOf("niri", binding).contains(u"\\\"mine\\\""_s));
        QVERIFY(lineOf("sway", binding).endsWith(u"exec "_s + binding.command));
    }
};

QTEST_GUILESS_MAIN(tst_DesktopKeyInstructions)
#include "tst_DesktopKeyInstructions.moc"
