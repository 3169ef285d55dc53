// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Departures.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;

class tst_Departures final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatLeftIsTakenOnceByItsMove();
    void aMoveKeepsItsFirstEntry();
    void whatRestsIsTakenOnceFromItsPlace();
    void whatComesToRestPushesTheFormerOut();
    void takeAllEmptiesBoth();
};

namespace {

Departure departureFrom(const std::string &path)
{
    return {nothing, path, false};
}

}  // namespace

void tst_Departures::whatLeftIsTakenOnceByItsMove()
{
    Departures departures;
    QVERIFY(departures.isEmpty());

    QVERIFY(!departures.leave(7, departureFrom("/a")));
    QVERIFY(!departures.isEmpty());

    QVERIFY(!departures.take(8));
    QCOMPARE(departures.take(7)->oldPath, std::string("/a"));
    QVERIFY(!departures.take(7));
    QVERIFY(departures.isEmpty());
}

void tst_Departures::aMoveKeepsItsFirstEntry()
{
    Departures departures;
    departures.leave(7, departureFrom("/a"));

    const auto refused = departures.leave(7, departureFrom("/b"));

    QVERIFY(refused);
    QCOMPARE(refused->oldPath, std::string("/b"));
    QCOMPARE(departures.take(7)->oldPath, std::string("/a"));
}

void tst_Departures::whatRestsIsTakenOnceFromItsPlace()
{
    Departures departures;

    QVERIFY(!departures.rest({3, ".aside"}, departureFrom("/a")));

    // Nothing is to be met that has just left: the other half of its move has come already.
    QVERIFY(departures.isEmpty());
    QVERIFY(!departures.takeFrom({3, ".other"}));
    QVERIFY(!departures.takeFrom({4, ".aside"}));
    QCOMPARE(departures.takeFrom({3, ".aside"})->oldPath, std::string("/a"));
    QVERIFY(!departures.takeFrom({3, ".aside"}));
}

void tst_Departures::whatComesToRestPushesTheFormerOut()
{
    Departures departures;
    departures.rest({3, ".aside"}, departureFrom("/a"));

    const auto replaced = departures.rest({3, ".aside"}, departureFrom("/b"));

    QVERIFY(replaced);
    QCOMPARE(replaced->oldPath, std::string("/a"));
    QCOMPARE(departures.takeFrom({3, ".aside"})->oldPath, std::string("/b"));
}

void tst_Departures::takeAllEmptiesBoth()
{
    Departures departures;
    departures.leave(7, departureFrom("/a"));
    departures.rest({3, ".aside"}, departureFrom("/b"));

    QCOMPARE(
        departures.takeAll(), (std::vector<Departure>{departureFrom("/a"), departureFrom("/b")}));
    QVERIFY(departures.takeAll().empty());
    QVERIFY(!departures.take(7));
    QVERIFY(!departures.takeFrom({3, ".aside"}));
}

QTEST_APPLESS_MAIN(tst_Departures)
#include "tst_Departures.moc"
