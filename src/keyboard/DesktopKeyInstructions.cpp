// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/DesktopKeyInstructions.h"

#include "platform/HotKeyCenter.h"

#include <algorithm>

namespace vellumhound::keyboard {

namespace {

using namespace Qt::StringLiterals;
namespace Modifiers = platform::HotKeyModifiers;

const auto gnomeList = u"org.gnome.settings-daemon.plugins.media-keys"_s;

/// One word for a shell.
QString shellWord(const QString &text)
{
    return u'\'' + QString(text).replace(u'\'', u"'\\''"_s) + u'\'';
}

/// A text in double quotes with a backslash before what would end it.
QString inDoubleQuotes(const QString &text)
{
    return u'"' + QString(text).replace(u'\\', u"\\\\"_s).replace(u'"', u"\\\""_s) + u'"';
}

QString modifierNames(int modifiers, const QStringList &names, const QString &separator)
{
    const int bits[] = {
        Modifiers::control, Modifiers::option, Modifiers::shift, Modifiers::command};
    QStringList held;
    for (int i = 0; i < 4; ++i) {
        if (modifiers & bits[i])
            held.append(names[i]);
    }
    return held.join(separator);
}

/// A text value for gsettings: taken as it stands unless it begins like a quoted one.
QString gsettingsValue(const QString &text)
{
    const bool isQuoted = text.startsWith(u'\'') || text.startsWith(u'"');
    return shellWord(isQuoted ? inDoubleQuotes(text) : text);
}

/// The three keys of the entry, then the list of entries with ours added: those of the user stay,
/// and doing it twice is doing it once.
QStringList gnomeLines(const DesktopKeyBinding &binding)
{
    const auto path =
        u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/vellumhound-%1/"_s.arg(
            binding.name);
    const auto set = u"gsettings set %1.custom-keybinding:%2 "_s.arg(gnomeList, path);
    return {
        set + u"name "_s + gsettingsValue(u"Vellumhound: "_s + binding.label),
        set + u"command "_s + gsettingsValue(binding.command),
        set + u"binding "_s + gsettingsValue(binding.texts.gtk),
        u"gsettings set %1 custom-keybindings \"$(gsettings get %1 custom-keybindings | "
        "sed \"s|^@as ||; s|'%2'||; s|, ,|,|; s|, *]|]|; s|]|, '%2']|; s|\\[, |[|g\")\""_s.arg(
            gnomeList, path),
    };
}

DesktopKeyInstructions ofGnome(const DesktopKeyBinding &binding)
{
    if (binding.isKnownByPortal)
        return {u"Set it in Settings ▸ Apps ▸ Vellumhound ▸ Global Shortcuts."_s, {}};
    const auto where = u"Set it in Settings ▸ Keyboard ▸ View and Customize Shortcuts ▸ Custom "
                       "Shortcuts, or run these commands:"_s;
    if (binding.texts.gtk.isEmpty()) {
        return {u"In Settings ▸ Keyboard ▸ View and Customize Shortcuts ▸ Custom Shortcuts, let it "
                "run this command:"_s,
            {binding.command}};
    }
    return {where, gnomeLines(binding)};
}

DesktopKeyInstructions ofKde(const DesktopKeyBinding &binding)
{
    if (binding.isKnownByPortal)
        return {u"Set it in System Settings ▸ Shortcuts ▸ Vellumhound."_s, {}};
    return {u"In System Settings ▸ Shortcuts ▸ Add New ▸ Command or Script, let it run this "
            "command:"_s,
        {binding.command}};
}

DesktopKeyInstructions ofSway(const DesktopKeyBinding &binding)
{
    return {u"Add this line to ~/.config/sway/config and reload it with swaymsg reload:"_s,
        {u"bindsym %1 exec %2"_s.arg(binding.texts.sway, binding.command)}};
}

DesktopKeyInstructions ofI3(const DesktopKeyBinding &binding)
{
    return {u"Add this line to ~/.config/i3/config and reload it with i3-msg reload:"_s,
        {u"bindsym %1 exec --no-startup-id %2"_s.arg(binding.texts.sway, binding.command)}};
}

DesktopKeyInstructions ofHyprland(const DesktopKeyBinding &binding)
{
    if (binding.isKnownByPortal) {
        return {u"Add this line to ~/.config/hypr/hyprland.conf; hyprctl globalshortcuts shows the "
                "name that stands at its end:"_s,
            {u"bind = %1, global, org.vellumhound.Vellumhound:%2"_s.arg(
                binding.texts.hyprland, binding.name)}};
    }
    return {u"Add this line to ~/.config/hypr/hyprland.conf:"_s,
        {u"bind = %1, exec, %2"_s.arg(binding.texts.hyprland, binding.command)}};
}

DesktopKeyInstructions ofXfce(const DesktopKeyBinding &binding)
{
    const auto key = QString(binding.texts.gtk).replace(u"<Control>"_s, u"<Primary>"_s);
    return {u"Set it in Settings ▸ Keyboard ▸ Application Shortcuts, or run this command:"_s,
        {u"xfconf-query --channel xfce4-keyboard-shortcuts --property %1 --create --type string "
         "--set %2"_s.arg(shellWord(u"/commands/custom/"_s + key), shellWord(binding.command))}};
}

/// openbox, and labwc which took its way of writing keys over.
QString openboxKey(const DesktopKeyBinding &binding)
{
    const auto held = modifierNames(binding.modifiers, {u"C"_s, u"A"_s, u"S"_s, u"W"_s}, u"-"_s);
    return (held.isEmpty() ? held : held + u'-') + binding.texts.xkbKey;
}

DesktopKeyInstructions ofLabwc(const DesktopKeyBinding &binding)
{
    return {u"Add this line to ~/.config/labwc/rc.xml, between <keyboard> and </keyboard>, and "
            "reload it with labwc --reconfigure:"_s,
        {u"<keybind key=\"%1\"><action name=\"Execute\" command=\"%2\"/></keybind>"_s.arg(
            openboxKey(binding).toHtmlEscaped(), binding.command.toHtmlEscaped())}};
}

DesktopKeyInstructions ofOpenbox(const DesktopKeyBinding &binding)
{
    return {u"Add this line to ~/.config/openbox/rc.xml, between <keyboard> and </keyboard>, and "
            "reload it with openbox --reconfigure:"_s,
        {u"<keybind key=\"%1\"><action name=\"Execute\"><command>%2</command></action></keybind>"_s
                .arg(openboxKey(binding).toHtmlEscaped(), binding.command.toHtmlEscaped())}};
}

DesktopKeyInstructions ofRiver(const DesktopKeyBinding &binding)
{
    const auto held =
        modifierNames(binding.modifiers, {u"Control"_s, u"Alt"_s, u"Shift"_s, u"Super"_s}, u"+"_s);
    return {u"Add this line to ~/.config/river/init, or run it:"_s,
        {u"riverctl map normal %1 %2 spawn %3"_s.arg(
            held.isEmpty() ? u"None"_s : held, binding.texts.xkbKey, shellWord(binding.command))}};
}

DesktopKeyInstructions ofNiri(const DesktopKeyBinding &binding)
{
    const auto held =
        modifierNames(binding.modifiers, {u"Ctrl"_s, u"Alt"_s, u"Shift"_s, u"Super"_s}, u"+"_s);
    return {u"Add this line to ~/.config/niri/config.kdl, between binds { and }:"_s,
        {u"%1%2 { spawn \"sh\" \"-c\" %3; }"_s.arg(held.isEmpty() ? held : held + u'+',
            binding.texts.xkbKey, inDoubleQuotes(binding.command))}};
}

/// A desktop whose settings are only clicked.
template <const char16_t *where> DesktopKeyInstructions clicked(const DesktopKeyBinding &binding)
{
    return {u"In %1, let it run this command:"_s.arg(QString::fromUtf16(where)), {binding.command}};
}

constexpr char16_t cinnamonPlace[] = u"System Settings ▸ Keyboard ▸ Shortcuts ▸ Custom Shortcuts";
constexpr char16_t matePlace[] = u"Control Center ▸ Keyboard Shortcuts";
constexpr char16_t lxqtPlace[] = u"LXQt Configuration Center ▸ Shortcut Keys";
constexpr char16_t cosmicPlace[] =
    u"Settings ▸ Input Devices ▸ Keyboard ▸ View and customize shortcuts ▸ Custom";
constexpr char16_t anyPlace[] = u"the desktop's settings for keys";

struct Desktop {
    QLatin1StringView name;  ///< of the session
    const char16_t *title = nullptr;
    DesktopKeyInstructions (*instructions)(const DesktopKeyBinding &) = nullptr;
    bool isClicked = false;  ///< the key is pressed there, not written
};

constexpr Desktop desktops[] = {
    {"Budgie"_L1, u"Budgie", ofGnome, true},
    {"Unity"_L1, u"Unity", ofGnome, true},
    {"GNOME"_L1, u"GNOME", ofGnome, true},
    {"KDE"_L1, u"KDE Plasma", ofKde, true},
    {"sway"_L1, u"sway", ofSway},
    {"i3"_L1, u"i3", ofI3},
    {"Hyprland"_L1, u"Hyprland", ofHyprland},
    {"XFCE"_L1, u"Xfce", ofXfce},
    {"labwc"_L1, u"labwc", ofLabwc},
    {"openbox"_L1, u"Openbox", ofOpenbox},
    {"river"_L1, u"river", ofRiver},
    {"niri"_L1, u"niri", ofNiri},
    {"X-Cinnamon"_L1, u"Cinnamon", clicked<cinnamonPlace>, true},
    {"Cinnamon"_L1, u"Cinnamon", clicked<cinnamonPlace>, true},
    {"MATE"_L1, u"MATE", clicked<matePlace>, true},
    {"LXQt"_L1, u"LXQt", clicked<lxqtPlace>, true},
    {"COSMIC"_L1, u"COSMIC", clicked<cosmicPlace>, true},
};

const Desktop *find(const QStringList &desktopNames)
{
    for (const auto &name : desktopNames) {
        const auto *found =
            std::find_if(std::begin(desktops), std::end(desktops), [&](const Desktop &desktop) {
                return name.compare(desktop.name, Qt::CaseInsensitive) == 0;
            });
        if (found != std::end(desktops))
            return found;
    }
    return nullptr;
}

}  // namespace

QString desktopTitle(const QStringList &desktopNames)
{
    const auto *desktop = find(desktopNames);
    return desktop ? QString::fromUtf16(desktop->title) : u"This desktop"_s;
}

DesktopKeyInstructions describeDesktopKeyInstructions(
    const QStringList &desktopNames, const DesktopKeyBinding &binding)
{
    const auto *desktop = find(desktopNames);
    // A line without its key would be of no use to anybody.
    if (!desktop || (!desktop->isClicked && binding.texts.xkbKey.isEmpty()))
        return clicked<anyPlace>(binding);
    return desktop->instructions(binding);
}

}  // namespace vellumhound::keyboard
