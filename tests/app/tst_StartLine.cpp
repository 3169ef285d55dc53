// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StartLine.h"

#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using State = keyboard::HotKeyDescription::State;

class tst_StartLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theKeyThatWorksIsNamed()
    {
        keyboard::HotKeyDescription key;
        key.state = State::active;
        key.trigger = u"⌃Space"_s;
        key.sentence = u"⌃Space works in every program, through X11."_s;

        const auto line = app::startLine(key);

        QVERIFY2(line.startsWith(u"Vellumhound "_s), qPrintable(line));
        QVERIFY2(line.endsWith(u" runs; ⌃Space brings up its panel."_s), qPrintable(line));
    }

    void withoutAKeyThereIsAnotherWayAndTheReason_data()
    {
        QTest::addColumn<State>("state");
        for (const auto state : {State::withoutShortcut, State::waiting, State::taken,
                 State::refused, State::toBeSetInDesktop})
            QTest::addRow("%d", int(state)) << state;
    }
    void withoutAKeyThereIsAnotherWayAndTheReason()
    {
        QFETCH(State, state);
        keyboard::HotKeyDescription key;
        key.state = state;
        key.trigger = u"⌃Space"_s;
        key.sentence = u"The reason."_s;

        const auto line = app::startLine(key);

        QVERIFY2(line.endsWith(u" runs; starting it again brings up its panel. The reason."_s),
            qPrintable(line));
    }
};

QTEST_GUILESS_MAIN(tst_StartLine)
#include "tst_StartLine.moc"
