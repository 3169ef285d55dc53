// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/NamedShortcutsFixture.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;

namespace {
const QByteArray controlSpaceText = R"({"carbonKeyCode":49,"carbonModifiers":4096})";
const QByteArray optionSText = R"({"carbonKeyCode":1,"carbonModifiers":2048})";
}  // namespace

class tst_NamedShortcuts : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<NamedShortcutsFixture> _;
    NamedShortcuts &shortcuts() const { return *_->shortcuts; }

private Q_SLOTS:
    void init() { _ = std::make_unique<NamedShortcutsFixture>(); }
    void cleanup() { _.reset(); }

    void aNameStartsWithItsDefault()
    {
        const auto name = shortcuts().createName(u"main"_s, controlSpace);

        QCOMPARE(name, (Name{u"main"_s, controlSpace}));
        QCOMPARE(_->stored(u"main"_s), controlSpaceText);
        QCOMPARE(shortcuts().getShortcut(name), controlSpace);
        QCOMPARE(_->center.numbersOf(49, 0x1000), QList{1});
        QCOMPARE(_->changes, QList{name});
    }

    void aNameWithoutADefaultStartsEmpty()
    {
        const auto name = shortcuts().createName(u"other"_s);

        QCOMPARE(_->stored(u"other"_s), "no file");
        QVERIFY(!shortcuts().getShortcut(name));
        QVERIFY(_->center.calls.isEmpty());
        QVERIFY(_->changes.isEmpty());
    }

    void whatIsStoredIsLeftAlone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<std::optional<Shortcut>>("shortcut");
        const std::optional<Shortcut> none;
        QTest::newRow("a shortcut") << optionSText << std::optional(optionS);
        QTest::newRow("removed") << QByteArray("false") << none;
        QTest::newRow("empty") << QByteArray("") << none;
        QTest::newRow("nonsense") << QByteArray("ctrl+space") << none;
        QTest::newRow("half") << optionSText.left(20) << none;
        QTest::newRow("other types")
            << QByteArray(R"({"carbonKeyCode":"1","carbonModifiers":2048})") << none;
    }
    void whatIsStoredIsLeftAlone()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(std::optional<Shortcut>, shortcut);
        QVERIFY(_->store(u"main"_s, bytes));

        const auto name = shortcuts().createName(u"main"_s, controlSpace);

        QCOMPARE(_->stored(u"main"_s), bytes);
        QCOMPARE(shortcuts().getShortcut(name), shortcut);
        QVERIFY(_->center.calls.isEmpty());
        QVERIFY(_->changes.isEmpty());
    }

    void aRemovedDefaultDoesNotComeBack()
    {
        const auto name = shortcuts().createName(u"main"_s, controlSpace);

        shortcuts().setShortcut(name, std::nullopt);
        QCOMPARE(_->stored(u"main"_s), "false");
        QCOMPARE(_->changes, (QList{name, name}));
        _->stop();
        _->start();
        const auto again = shortcuts().createName(u"main"_s, controlSpace);

        QCOMPARE(_->stored(u"main"_s), "false");
        QVERIFY(!shortcuts().getShortcut(again));
        QVERIFY(_->center.grabs.empty());
    }

    void clearingANameWithoutADefaultRemovesItsKey()
    {
        const auto name = shortcuts().createName(u"other"_s);
        shortcuts().setShortcut(name, optionS);
        QCOMPARE(_->stored(u"other"_s), optionSText);

        shortcuts().setShortcut(name, std::nullopt);

        QCOMPARE(_->stored(u"other"_s), "no file");
        QVERIFY(_->center.grabs.empty());
        QCOMPARE(_->changes, (QList{name, name}));
    }

    void clearingWhatHasNoShortcutTellsNobody_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("removed before") << QByteArray("false");
        QTest::newRow("undecodable") << QByteArray("{}");
    }
    void clearingWhatHasNoShortcutTellsNobody()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(_->store(u"main"_s, bytes));
        const auto name = shortcuts().createName(u"main"_s, controlSpace);
        const auto other = shortcuts().createName(u"other"_s);

        shortcuts().setShortcut(name, std::nullopt);
        shortcuts().setShortcut(other, std::nullopt);

        QVERIFY(_->changes.isEmpty());
        QVERIFY(_->center.calls.isEmpty());
        QCOMPARE(_->stored(u"main"_s), bytes);
    }

    void aNewShortcutTakesTheHotKeyOfTheOld()
    {
        const auto name = shortcuts().createName(u"main"_s, controlSpace);
        _->center.calls.clear();

        shortcuts().setShortcut(name, optionS);

        QCOMPARE(_->center.calls, (QStringList{u"unregister #1"_s, u"register 1 2048 #2"_s}));
        QCOMPARE(shortcuts().registeredShortcuts(), QSet{optionS});
        QCOMPARE(_->stored(u"main"_s), optionSText);
    }

    void observersFindTheNewShortcutStored()
    {
        const auto name = shortcuts().createName(u"main"_s, controlSpace);
        std::optional<Shortcut> seen;
        const auto token =
            _->notifications.addObserver(u"KeyboardShortcuts_shortcutByNameDidChange"_s, nullptr,
                [&] { seen = shortcuts().getShortcut(name); });

        shortcuts().setShortcut(name, optionS);
        QCOMPARE(seen, optionS);

        shortcuts().setShortcut(name, std::nullopt);
        QVERIFY(!seen);
    }

    void undecodableTextIsReplacedWhenItIsSet()
    {
        QVERIFY(_->store(u"main"_s, "nonsense"));
        const auto name = shortcuts().createName(u"main"_s, controlSpace);

        shortcuts().setShortcut(name, optionS);

        QCOMPARE(_->stored(u"main"_s), optionSText);
        QCOMPARE(shortcuts().getShortcut(name), optionS);
    }

    void aShortcutThatCannotBeStoredChangesNothing()
    {
        // A name so long that the file can exist, but not the longer one that replaces it.
        const QString longest(255 - int(qstrlen("KeyboardShortcuts_.json")), u'n');
        QVERIFY(QDir().mkpath(_->place.filePath(u"vellumhound"_s)));
        QFile file(_->file(longest));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(controlSpaceText), controlSpaceText.size());
        file.close();
        const auto key = u"KeyboardShortcuts_"_s + longest;
        QTRY_COMPARE(_->defaults.data(key), std::optional<QByteArray>(controlSpaceText));
        const auto name = shortcuts().createName(longest, optionS);
        shortcuts().onKeyDown(name, [] {});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"cannot be stored"_s));

        shortcuts().setShortcut(name, optionS);

        QCOMPARE(shortcuts().getShortcut(name), controlSpace);
        QCOMPARE(shortcuts().registeredShortcuts(), QSet{controlSpace});
        QCOMPARE(_->center.numbersOf(49, 0x1000).size(), 1);
        QVERIFY(_->center.numbersOf(1, 0x800).isEmpty());
        QVERIFY(_->changes.isEmpty());
    }

    void aFileRemovedByHandIsNoticedBeforeASet()
    {
        const auto name = shortcuts().createName(u"main"_s, controlSpace);
        QVERIFY(QFile::remove(_->file(u"main"_s)));

        shortcuts().setShortcut(name, optionS);

        QCOMPARE(shortcuts().registeredShortcuts(), QSet{optionS});
        QVERIFY(_->center.numbersOf(49, 0x1000).isEmpty());
    }

    void theDescriptionIsWhatTheUserReads()
    {
        _->layout.printed = {{1, u"s"_s}};
        const auto name = shortcuts().createName(u"main"_s, controlSpace);
        QCOMPARE(shortcuts().description(name), u"⌃Space"_s);

        shortcuts().setShortcut(name, optionS);
        QCOMPARE(shortcuts().description(name), u"⌥S"_s);

        shortcuts().setShortcut(name, std::nullopt);
        QCOMPARE(shortcuts().description(name), QString());
    }

    void namesAreKeysOfAMap()
    {
        const Name a{u"a"_s, controlSpace};

        QCOMPARE((QSet<Name>{a, {u"a"_s, controlSpace}, {u"a"_s, {}}, {u"b"_s, {}}}.size()), 3);
        QCOMPARE(NamedShortcuts::userDefaultsKey(a), u"KeyboardShortcuts_a"_s);
    }
};

QTEST_GUILESS_MAIN(tst_NamedShortcuts)
#include "tst_NamedShortcuts.moc"
