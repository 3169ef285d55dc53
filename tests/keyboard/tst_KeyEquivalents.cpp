// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyEquivalents.h"

#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;

namespace {

base::KeyEvent keyEvent(int keyCode, std::uint32_t modifiers, const QString &equivalent = {})
{
    base::KeyEvent event;
    event.keyCode = keyCode;
    event.modifierFlags = modifiers;
    event.equivalent = equivalent;
    return event;
}

const auto always = [] { return true; };

}  // namespace

class TestKeyEquivalents : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLetterIsMatchedByTheLayoutNotByTheKey()
    {
        KeyEquivalents equivalents;
        int pressed = 0;
        const auto registration = equivalents.add(
            {u"k"_s, base::KeyCode::unknown, Flags::command}, always, [&] { ++pressed; });

        QVERIFY(equivalents.perform(keyEvent(base::KeyCode::t, Flags::command, u"k"_s)));
        QVERIFY(!equivalents.perform(keyEvent(base::KeyCode::k, Flags::command, u"t"_s)));

        QCOMPARE(pressed, 1);
    }

    void theModifiersMustBeExactlyThose()
    {
        KeyEquivalents equivalents;
        const auto registration =
            equivalents.add({u"k"_s, base::KeyCode::unknown, Flags::command}, always, [] {});

        QVERIFY(!equivalents.perform(
            keyEvent(base::KeyCode::k, Flags::command | Flags::shift, u"k"_s)));
        QVERIFY(equivalents.perform(
            keyEvent(base::KeyCode::k, Flags::command | Flags::capsLock, u"k"_s)));
    }

    void aButtonThatCannotBePressedLeavesItsKeyToTheNext()
    {
        KeyEquivalents equivalents;
        QStringList pressed;
        const KeyEquivalent escape{{}, base::KeyCode::escape, 0};
        bool isAvailable = false;
        const auto first = equivalents.add(
            escape, [&] { return isAvailable; }, [&] { pressed += u"first"_s; });
        const auto second = equivalents.add(escape, always, [&] { pressed += u"second"_s; });

        equivalents.perform(keyEvent(base::KeyCode::escape, 0));
        isAvailable = true;
        equivalents.perform(keyEvent(base::KeyCode::escape, 0));

        QCOMPARE(pressed, (QStringList{u"second"_s, u"first"_s}));
    }

    void aButtonMayGoWhileItIsPressed()
    {
        KeyEquivalents equivalents;
        std::unique_ptr<KeyEquivalents::Registration> registration;
        registration =
            equivalents.add({{}, base::KeyCode::escape, 0}, always, [&] { registration.reset(); });

        QVERIFY(equivalents.perform(keyEvent(base::KeyCode::escape, 0)));
        QVERIFY(!equivalents.perform(keyEvent(base::KeyCode::escape, 0)));
    }

    void aRegistrationMayOutliveTheTable()
    {
        auto equivalents = std::make_unique<KeyEquivalents>();
        auto registration = equivalents->add({{}, base::KeyCode::escape, 0}, always, [] {});

        equivalents.reset();
        registration.reset();

        QVERIFY(!registration);
    }
};

QTEST_GUILESS_MAIN(TestKeyEquivalents)
#include "tst_KeyEquivalents.moc"
