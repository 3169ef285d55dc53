// SPDX-License-Identifier: GPL-3.0-or-later
// The program's hot keys from the key on a real X server to the action.
#include "base/NotificationCenter.h"
#include "keyboard/GlobalShortcut.h"
#include "platform/linux/hotkeys/X11HotKeys.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/KeyTranslator.h"
#include "platform/linux/keyboard/XkbKeyCharacters.h"
#include "support/CapturedOutput.h"
#include "support/RunProgram.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <cstdlib>
#include <linux/input-event-codes.h>
#include <xcb/xcb.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using keyboard::GlobalShortcut;
using keyboard::KeyboardShortcuts::NamedShortcuts;
using keyboard::KeyboardShortcuts::Shortcut;
using support::run;
using support::xdotool;

namespace {

bool press(const QString &keys)
{
    return xdotool({u"key"_s, keys});
}

/// Keeps the last chord that it got, as a recorder does.
class RecordingWindow final : public QWindow {
public:
    std::optional<Shortcut> recorded;

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        using namespace keyboard::KeyboardShortcuts;
        if (const auto key = _translator.translate(*event))
            recorded = Shortcut::ofEvent(EventType::keyDown, *key);
    }

private:
    platform::KeyTranslator _translator{platform::KeyboardLayout::ofSession()};
};

}  // namespace

class tst_HotKeysX11 : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> _place;
    base::EventLoopTimer _timer;
    std::unique_ptr<settings::UserDefaults> _defaults;
    base::NotificationCenter _notifications;
    platform::RawKeyFeed _rawKeys;
    std::unique_ptr<platform::X11HotKeys> _center;
    std::unique_ptr<platform::XkbKeyCharacters> _characters;
    std::unique_ptr<NamedShortcuts> _shortcuts;
    QStringList _ran;

    void start()
    {
        _shortcuts = std::make_unique<NamedShortcuts>(NamedShortcuts::Environment{
            *_defaults, _notifications, *_center, _rawKeys, *_characters});
        for (const auto *name :
            {&GlobalShortcut::launchVellumhound(), &GlobalShortcut::loadSelectedFilesFromFinder(),
                &GlobalShortcut::browseFinderWindows()}) {
            _shortcuts->createName(name->rawValue, name->defaultShortcut);
            _shortcuts->onKeyDown(*name, [this, name] { _ran.append(name->rawValue); });
        }
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY(run(u"setxkbmap"_s, {u"us"_s, u"-option"_s, u""_s}));
        _place = std::make_unique<QTemporaryDir>();
        _defaults =
            std::make_unique<settings::UserDefaults>(_place->filePath(u"vellumhound"_s), _timer);
        const std::shared_ptr<const platform::KeyboardLayout> layout =
            platform::KeyboardLayout::ofSession();
        _center = std::make_unique<platform::X11HotKeys>(layout);
        _characters = std::make_unique<platform::XkbKeyCharacters>(layout);
        _ran.clear();
    }
    void cleanup()
    {
        _shortcuts.reset();
        _characters.reset();
        _center.reset();
    }

    void theThreeHotKeysRunTheirActions()
    {
        start();

        for (const auto &keys : {u"ctrl+space"_s, u"alt+s"_s, u"alt+f"_s})
            QVERIFY(press(keys));

        QTRY_COMPARE(_ran, (QStringList{u"launchVellumhound"_s, u"loadSelectedFilesFromFinder"_s,
                               u"browseFinderWindows"_s}));
    }

    void theUsersChoiceTakesEffectAtOnce()
    {
        start();

        _shortcuts->setShortcut(GlobalShortcut::launchVellumhound(), Shortcut(40, 0x1800));
        QVERIFY(press(u"ctrl+space"_s));
        QVERIFY(press(u"ctrl+alt+k"_s));
        QTRY_COMPARE(_ran, QStringList{u"launchVellumhound"_s});

        _shortcuts->setShortcut(GlobalShortcut::launchVellumhound(), std::nullopt);
        QVERIFY(press(u"ctrl+alt+k"_s));
        QVERIFY(press(u"alt+f"_s));
        QTRY_COMPARE(_ran.size(), 2);
        QCOMPARE(_ran.last(), u"browseFinderWindows"_s);
    }

    void aKeyOfAnotherProgramIsToldAndTheOthersWork()
    {
        auto *other = xcb_connect(nullptr, nullptr);
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(other)).data->root;
        auto *error =
            xcb_request_check(other, xcb_grab_key_checked(other, 0, root, XCB_MOD_MASK_1, KEY_S + 8,
                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        const bool isHeld = !error;
        std::free(error);
        QVERIFY(isHeld);
        support::CapturedOutput output;

        start();

        QCOMPARE(output.text(), "Error registering hotkey ⌥S: 10\n");
        QVERIFY(press(u"alt+s"_s));
        QVERIFY(press(u"ctrl+space"_s));
        QTRY_COMPARE(_ran, QStringList{u"launchVellumhound"_s});
        xcb_disconnect(other);
    }

    void theKeyThatWasPressedIsTheKeyThatFires_data()
    {
        QTest::addColumn<QStringList>("layout");
        QTest::addColumn<int>("linuxCode");
        QTest::addColumn<bool>("hasNumLock");
        QTest::newRow("Space") << QStringList{u"us"_s} << KEY_SPACE << false;
        QTest::newRow("a letter") << QStringList{u"fr"_s} << KEY_Q << false;
        QTest::newRow("swapped Escape")
            << QStringList{u"us"_s, u"-option"_s, u"caps:swapescape"_s} << KEY_CAPSLOCK << false;
        QTest::newRow("keypad, Num Lock off") << QStringList{u"us"_s} << KEY_KP7 << false;
        QTest::newRow("keypad, Num Lock on") << QStringList{u"us"_s} << KEY_KP7 << true;
        QTest::newRow("a second Backspace")
            << QStringList{u"us"_s, u"-option"_s, u"caps:backspace"_s} << KEY_CAPSLOCK << false;
        QTest::newRow("F13, which the layout calls otherwise")
            << QStringList{u"us"_s} << KEY_F13 << false;
    }
    void theKeyThatWasPressedIsTheKeyThatFires()
    {
        QFETCH(QStringList, layout);
        QFETCH(int, linuxCode);
        QFETCH(bool, hasNumLock);
        QVERIFY(run(u"setxkbmap"_s, layout));
        const QStringList chord{u"0"_s, QString::number(KEY_LEFTCTRL + 8),
            QString::number(KEY_LEFTSHIFT + 8), QString::number(linuxCode + 8)};
        RecordingWindow window;
        window.show();
        window.requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        if (hasNumLock)
            QVERIFY(press(u"Num_Lock"_s));
        start();

        QVERIFY(run(QStringLiteral(XKB_GROUP), chord));
        QTRY_VERIFY(window.recorded);
        _shortcuts->setShortcut(GlobalShortcut::launchVellumhound(), window.recorded);
        if (hasNumLock)
            QVERIFY(press(u"Num_Lock"_s));
        QVERIFY(run(QStringLiteral(XKB_GROUP), chord));

        QTRY_COMPARE(_ran, QStringList{u"launchVellumhound"_s});
    }

    void hotKeysFollowALockThatMoves()
    {
        start();

        QVERIFY(run(u"xmodmap"_s,
            {u"-e"_s, u"remove mod2 = Num_Lock"_s, u"-e"_s, u"add mod3 = Num_Lock"_s}));
        // Until the change is known, the key with the lock belongs to nobody.
        QVERIFY(QTest::qWaitFor([&] {
            const auto before = _ran.size();
            press(u"Num_Lock"_s);
            press(u"ctrl+space"_s);
            press(u"Num_Lock"_s);
            QCoreApplication::processEvents();
            return _ran.size() > before;
        }));
    }
};

QTEST_MAIN(tst_HotKeysX11)
#include "tst_HotKeysX11.moc"
