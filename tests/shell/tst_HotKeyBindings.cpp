// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeKeyCharacters.h"
#include "fakes/ManualTimer.h"
#include "keyboard/GlobalShortcut.h"
#include "shell/HotKeyBindings.h"
#include "shell/NotingPanel.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;

namespace {

constexpr int control = platform::HotKeyModifiers::control;
constexpr int option = platform::HotKeyModifiers::option;

/// A process of the program with nothing but its hot keys.
struct Process {
    explicit Process(const QString &folder)
        : defaults(folder, timer)
        , delegate(
              timer,
              [this](const QString &, VellumhoundAppDelegate &) {
                  return std::make_unique<NotingPanel>(calls);
              },
              [] { return true; })
    {
        for (const auto *name : {base::Notifications::SelectedFilesFromFinderNotification,
                 base::Notifications::BrowseFinderWindowsNotification}) {
            const auto text = QString::fromUtf16(name);
            tokens.push_back(notifications.addObserver(
                text, nullptr, [this, text] { calls.append(u"post "_s + text); }));
        }
    }
    void bind(BoundHotKeys which) { bindHotKeys(which, shortcuts, notifications, delegate); }

    QStringList calls;
    fakes::ManualTimer timer;
    settings::UserDefaults defaults;
    base::NotificationCenter notifications;
    std::vector<base::NotificationCenter::Token> tokens;
    fakes::FakeHotKeyCenter center;
    platform::RawKeyFeed rawKeys;
    fakes::FakeKeyCharacters layout;
    keyboard::KeyboardShortcuts::NamedShortcuts shortcuts{
        {defaults, notifications, center, rawKeys, layout}};
    VellumhoundAppDelegate delegate;
};

const QStringList presented{u"center"_s, u"front"_s, u"become key"_s};

}  // namespace

class tst_HotKeyBindings : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> _folder;
    std::unique_ptr<Process> _;

    void start() { _ = std::make_unique<Process>(_folder->path()); }

private Q_SLOTS:
    void init()
    {
        _folder = std::make_unique<QTemporaryDir>();
        start();
    }
    void cleanup()
    {
        _.reset();
        _folder.reset();
    }

    void theMainHotKeyShowsThePanelAfterTheFixedDelay()
    {
        _->bind(BoundHotKeys::launcher);

        _->center.press(49, control);

        QCOMPARE(_->calls, QStringList());
        _->timer.advance(VellumhoundAppDelegate::shortcutDelay);
        QCOMPARE(_->calls, presented);
    }

    void aSecondPressWithinTheDelayPresentsThePanelTwice()
    {
        _->bind(BoundHotKeys::launcher);

        _->center.press(49, control);
        _->center.release(49, control);
        _->center.press(49, control);
        _->timer.advance(VellumhoundAppDelegate::shortcutDelay);

        QCOMPARE(_->calls, presented + presented);
    }

    void theListsOfTheFileManagerAreAskedForBeforeThePanelIsShown()
    {
        _->bind(BoundHotKeys::all);

        _->center.press(1, option);
        QCOMPARE(_->calls, QStringList{u"post SelectedFilesFromFinderNotification"_s});
        _->timer.advance(VellumhoundAppDelegate::shortcutDelay);
        QCOMPARE(_->calls.mid(1), presented);

        _->calls.clear();
        _->center.press(3, option);
        QCOMPARE(_->calls, QStringList{u"post BrowseFinderWindowsNotification"_s});
        _->timer.advance(VellumhoundAppDelegate::shortcutDelay);
        QCOMPARE(_->calls.mid(1), presented);
    }

    void theThreeAreAskedForInTheirOrder()
    {
        _->bind(BoundHotKeys::all);

        QCOMPARE(_->center.names, (QStringList{u"launchVellumhound"_s,
                                      u"loadSelectedFilesFromFinder"_s, u"browseFinderWindows"_s}));
    }

    void withoutTheListsTheirKeysAreLeftToOtherPrograms()
    {
        _->bind(BoundHotKeys::launcher);

        QCOMPARE(_->center.names, QStringList{u"launchVellumhound"_s});
        QVERIFY(_->center.press(1, option).isEmpty());
        QVERIFY(!QFile::exists(
            _folder->filePath(u"KeyboardShortcuts_loadSelectedFilesFromFinder.json"_s)));
    }

    void aRemovedHotKeyStaysRemovedAtTheNextStart()
    {
        _->bind(BoundHotKeys::launcher);
        _->shortcuts.setShortcut(keyboard::GlobalShortcut::launchVellumhound(), std::nullopt);

        start();
        _->bind(BoundHotKeys::launcher);

        QVERIFY(_->center.grabs.empty());
    }

    void aHotKeyOfTheUsersIsTakenAtTheNextStart()
    {
        _->bind(BoundHotKeys::launcher);
        _->shortcuts.setShortcut(keyboard::GlobalShortcut::launchVellumhound(),
            keyboard::KeyboardShortcuts::Shortcut(96, 0));

        start();
        _->bind(BoundHotKeys::launcher);

        QVERIFY(_->center.press(49, control).isEmpty());
        QCOMPARE(_->center.press(96, 0), QList<int>{platform::HotKeyAnswer::noError});
    }
};

QTEST_GUILESS_MAIN(tst_HotKeyBindings)
#include "tst_HotKeyBindings.moc"
