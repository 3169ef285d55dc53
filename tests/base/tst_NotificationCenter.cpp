// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NotificationCenter.h"

#include <QStringList>
#include <QTest>

using namespace vellumhound::base;
using namespace Qt::StringLiterals;

class tst_NotificationCenter : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<NotificationCenter> _center;
    QStringList _heard;

    [[nodiscard]] NotificationCenter::Token observe(
        const QString &name, const QString &word, const void *object = nullptr)
    {
        return _center->addObserver(name, object, [this, word] { _heard.append(word); });
    }

private Q_SLOTS:
    void init()
    {
        _center = std::make_unique<NotificationCenter>();
        _heard.clear();
    }

    void observersHearTheirNameInTheOrderOfRegistration()
    {
        const auto a = observe(u"n"_s, u"a"_s);
        const auto other = observe(u"other"_s, u"other"_s);
        const auto b = observe(u"n"_s, u"b"_s);

        _center->post(u"n"_s);

        QCOMPARE(_heard, (QStringList{u"a"_s, u"b"_s}));
    }

    void whatANotificationCarriesReachesThoseWhoAsk()
    {
        QVariantMap got;
        const auto plain = observe(u"n"_s, u"plain"_s);
        const auto token = _center->addObserver(
            u"n"_s, nullptr, [&](const NotificationCenter::UserInfo &info) { got = info; });

        _center->post(u"n"_s, nullptr, {{u"entry"_s, 7}});

        QCOMPARE(got, (QVariantMap{{u"entry"_s, 7}}));
        QCOMPARE(_heard, QStringList{u"plain"_s});
    }

    void anObserverMayAskForOneObject()
    {
        const int mine = 0;
        const int theirs = 0;
        const auto all = observe(u"n"_s, u"all"_s);
        const auto one = observe(u"n"_s, u"mine"_s, &mine);

        _center->post(u"n"_s);
        QCOMPARE(_heard, (QStringList{u"all"_s}));
        _center->post(u"n"_s, &theirs);
        QCOMPARE(_heard.size(), 2);
        _center->post(u"n"_s, &mine);
        QCOMPARE(_heard, (QStringList{u"all"_s, u"all"_s, u"all"_s, u"mine"_s}));
    }

    void aTokenEndsTheObservationWhenItGoes()
    {
        {
            const auto token = observe(u"n"_s, u"a"_s);
            QVERIFY(bool(token));
        }
        auto token = observe(u"n"_s, u"b"_s);
        token.reset();
        token.reset();
        QVERIFY(!token);

        _center->post(u"n"_s);

        QVERIFY(_heard.isEmpty());
    }

    void aTokenMoves()
    {
        auto first = observe(u"n"_s, u"a"_s);
        auto second = std::move(first);
        NotificationCenter::Token third;
        third = std::move(second);
        _center->post(u"n"_s);
        QCOMPARE(_heard.size(), 1);

        third = observe(u"n"_s, u"b"_s);
        _center->post(u"n"_s);

        QCOMPARE(_heard, (QStringList{u"a"_s, u"b"_s}));
    }

    void oneRemovedByAnEarlierOneHearsNothing()
    {
        NotificationCenter::Token later;
        const auto first = _center->addObserver(u"n"_s, nullptr, [&] {
            _heard.append(u"first"_s);
            later.reset();
        });
        later = observe(u"n"_s, u"later"_s);

        _center->post(u"n"_s);

        QCOMPARE(_heard, (QStringList{u"first"_s}));
    }

    void oneThatRemovesItselfIsHeardOnce()
    {
        NotificationCenter::Token token;
        auto held = std::make_shared<int>(7);
        token = _center->addObserver(u"n"_s, nullptr, [&token, &heard = _heard, held] {
            token.reset();
            heard.append(QString::number(*held));
        });

        _center->post(u"n"_s);
        _center->post(u"n"_s);

        QCOMPARE(_heard, (QStringList{u"7"_s}));
        QCOMPARE(held.use_count(), 1);
    }

    void oneAddedMeanwhileHearsTheNext()
    {
        std::vector<NotificationCenter::Token> added;
        const auto token = _center->addObserver(
            u"n"_s, nullptr, [&] { added.push_back(observe(u"n"_s, u"added"_s)); });

        _center->post(u"n"_s);
        QVERIFY(_heard.isEmpty());
        _center->post(u"n"_s);

        QCOMPARE(_heard, (QStringList{u"added"_s}));
    }

    void aTokenMayOutliveTheCenter()
    {
        auto token = observe(u"n"_s, u"a"_s);

        _center.reset();
        token.reset();

        QVERIFY(!token);
    }

    void aHandlerMayPost()
    {
        const auto outer =
            _center->addObserver(u"outer"_s, nullptr, [&] { _center->post(u"inner"_s); });
        const auto inner = observe(u"inner"_s, u"inner"_s);
        const auto after = observe(u"outer"_s, u"outer"_s);

        _center->post(u"outer"_s);

        QCOMPARE(_heard, (QStringList{u"inner"_s, u"outer"_s}));
    }
};

QTEST_APPLESS_MAIN(tst_NotificationCenter)
#include "tst_NotificationCenter.moc"
