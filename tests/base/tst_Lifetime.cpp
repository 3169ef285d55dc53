// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Lifetime.h"

#include <QTest>

#include <functional>
#include <optional>

using namespace vellumhound::base;

class tst_Lifetime final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aBlockRunsWhileItsOwnerIsThere();
    void aBlockThatTakesItsOwnerAwayRunsToItsEnd();
};

void tst_Lifetime::aBlockRunsWhileItsOwnerIsThere()
{
    std::optional<Lifetime> owner(std::in_place);
    int sum = 0;
    const std::function<void(int)> add = owner->guarded([&](int value) { sum += value; });
    const auto copy = add;

    add(1);
    copy(2);
    QCOMPARE(sum, 3);
    owner.reset();
    add(4);
    copy(8);

    QCOMPARE(sum, 3);
}

void tst_Lifetime::aBlockThatTakesItsOwnerAwayRunsToItsEnd()
{
    std::optional<Lifetime> owner(std::in_place);
    bool hasEnded = false;
    const auto block = owner->guarded([&] {
        owner.reset();
        hasEnded = true;
    });

    block();

    QVERIFY(hasEnded);
}

QTEST_GUILESS_MAIN(tst_Lifetime)
#include "tst_Lifetime.moc"
