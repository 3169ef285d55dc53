// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/GlobalShortcut.h"
#include "keyboard/KeyboardShortcuts/NamedShortcutsFixture.h"

#include <QDir>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;

class tst_GlobalShortcut : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theThreeNamesStartWithTheirDefaults()
    {
        KeyboardShortcuts::NamedShortcutsFixture fixture;

        for (const auto *name :
            {&GlobalShortcut::launchVellumhound(), &GlobalShortcut::loadSelectedFilesFromFinder(),
                &GlobalShortcut::browseFinderWindows()})
            fixture.shortcuts->createName(name->rawValue, name->defaultShortcut);

        QCOMPARE(fixture.stored(u"launchVellumhound"_s),
            R"({"carbonKeyCode":49,"carbonModifiers":4096})");
        QCOMPARE(fixture.stored(u"loadSelectedFilesFromFinder"_s),
            R"({"carbonKeyCode":1,"carbonModifiers":2048})");
        QCOMPARE(fixture.stored(u"browseFinderWindows"_s),
            R"({"carbonKeyCode":3,"carbonModifiers":2048})");
        QCOMPARE(fixture.center.calls, (QStringList{u"register 49 4096 #1"_s,
                                           u"register 1 2048 #2"_s, u"register 3 2048 #3"_s}));
        QCOMPARE(fixture.changes, (QList{GlobalShortcut::launchVellumhound(),
                                      GlobalShortcut::loadSelectedFilesFromFinder(),
                                      GlobalShortcut::browseFinderWindows()}));
    }

    void aRowShowsTheCurrentRecording()
    {
        KeyboardShortcuts::NamedShortcutsFixture fixture;
        auto &shortcuts = *fixture.shortcuts;
        const GlobalShortcut browse{GlobalShortcut::browseFinderWindows()};
        shortcuts.createName(browse.name.rawValue, browse.name.defaultShortcut);
        QCOMPARE(browse.keyShortcut(shortcuts), (KeyShortcut{U'f', Flags::option}));

        shortcuts.setShortcut(browse.name, KeyboardShortcuts::Shortcut(49, 0x1100));
        QCOMPARE(browse.keyShortcut(shortcuts),
            (KeyShortcut{KeyCharacter::space, Flags::command | Flags::control}));

        shortcuts.setShortcut(browse.name, KeyboardShortcuts::Shortcut(96, 0));
        QVERIFY(!browse.keyShortcut(shortcuts));

        shortcuts.setShortcut(browse.name, std::nullopt);
        QVERIFY(!browse.keyShortcut(shortcuts));
    }
};

QTEST_GUILESS_MAIN(tst_GlobalShortcut)
#include "tst_GlobalShortcut.moc"
