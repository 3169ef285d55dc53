// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakePreviewManager.h"
#include "preview/PreviewKeys.h"

#include <QtTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;
namespace KeyCode = base::KeyCode;

namespace {

base::KeyEvent keyEvent(int keyCode, std::uint32_t modifiers)
{
    base::KeyEvent event;
    event.keyCode = keyCode;
    event.modifierFlags = modifiers;
    return event;
}

core::FilePtr someFile()
{
    return std::make_shared<core::File>(u"a.txt"_s, u"/tmp/a.txt"_s, false, 1, std::nullopt);
}

}  // namespace

class TestPreviewKeys : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachKeyDoesWhatItsRowSays_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<quint32>("modifiers");
        QTest::addColumn<bool>("isShown");
        QTest::addColumn<QString>("call");
        QTest::newRow("space opens") << KeyCode::space << 0u << false << u"show a.txt"_s;
        QTest::newRow("space closes") << KeyCode::space << 0u << true << u"hide"_s;
        QTest::newRow("option space opens")
            << KeyCode::space << Flags::option << false << u"show a.txt full"_s;
        QTest::newRow("option space closes")
            << KeyCode::space << Flags::option << true << u"hide full"_s;
        QTest::newRow("command y opens")
            << KeyCode::y << Flags::command << false << u"show a.txt"_s;
        QTest::newRow("command y closes") << KeyCode::y << Flags::command << true << u"clear"_s;
        QTest::newRow("command option y opens")
            << KeyCode::y << (Flags::command | Flags::option) << false << u"show a.txt full"_s;
        QTest::newRow("command option y closes")
            << KeyCode::y << (Flags::command | Flags::option) << true << u"hide full"_s;
    }
    void eachKeyDoesWhatItsRowSays()
    {
        QFETCH(int, keyCode);
        QFETCH(quint32, modifiers);
        QFETCH(bool, isShown);
        QFETCH(QString, call);
        fakes::FakePreviewManager manager;
        manager.isShown = isShown;

        QVERIFY(preview::handlePreviewKey(keyEvent(keyCode, modifiers), someFile(), manager));

        QCOMPARE(manager.calls, QStringList{call});
    }

    void withoutAFileNoKeyIsTaken()
    {
        fakes::FakePreviewManager manager;

        QVERIFY(!preview::handlePreviewKey(keyEvent(KeyCode::space, 0), nullptr, manager));
        QVERIFY(!preview::handlePreviewKey(keyEvent(KeyCode::y, Flags::command), nullptr, manager));
        QVERIFY(manager.calls.isEmpty());
    }

    void inFullScreenPlainSpaceGoesOnAndOptionSpaceStillCloses()
    {
        fakes::FakePreviewManager manager;
        manager.isShown = true;
        manager.isFullScreen = true;

        QVERIFY(!preview::handlePreviewKey(keyEvent(KeyCode::space, 0), someFile(), manager));
        QVERIFY(preview::handlePreviewKey(
            keyEvent(KeyCode::space, Flags::option), someFile(), manager));
        QCOMPARE(manager.calls, QStringList{u"hide full"_s});
    }

    void inATextFieldSpaceIsText()
    {
        fakes::FakePreviewManager manager;

        QVERIFY(!preview::handlePreviewKeyInTextField(
            keyEvent(KeyCode::space, 0), someFile(), manager));
        QVERIFY(preview::handlePreviewKeyInTextField(
            keyEvent(KeyCode::y, Flags::command), someFile(), manager));
    }

    void otherModifiersAreNotTaken()
    {
        fakes::FakePreviewManager manager;

        QVERIFY(!preview::handlePreviewKey(
            keyEvent(KeyCode::space, Flags::shift), someFile(), manager));
        QVERIFY(!preview::handlePreviewKey(keyEvent(KeyCode::y, 0), someFile(), manager));
    }
};

QTEST_APPLESS_MAIN(TestPreviewKeys)
#include "tst_PreviewKeys.moc"
