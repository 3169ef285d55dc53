// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/FailureLine.h"
#include "support/CapturedOutput.h"

#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;

class tst_FailureLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLineEndsWithABreakAndIsOutAtOnce()
    {
        support::CapturedOutput output;

        base::printFailure(u"Search failed: é"_s);

        QCOMPARE(output.text(), QByteArray("Search failed: \xC3\xA9\n"));
    }

    void lineBreaksInsideBecomeOneBlank()
    {
        support::CapturedOutput output;

        base::printFailure(u"Error: one\r\ntwo\n\nthree\u2028four\u0085five"_s);

        QCOMPARE(output.text(), QByteArray("Error: one two three four five\n"));
    }

    void whatSteersATerminalIsTakenAway()
    {
        support::CapturedOutput output;

        base::printFailure(u"Error: \u001b[2J\u202eabc"_s + QChar(0xDCFF));

        QCOMPARE(output.text(), QByteArray("Error: \xEF\xBF\xBD[2J\xEF\xBF\xBD"
                                           "abc\xEF\xBF\xBD\n"));
    }

    void anEmptyLineIsALine()
    {
        support::CapturedOutput output;

        base::printFailure({});

        QCOMPARE(output.text(), QByteArray("\n"));
    }
};

QTEST_APPLESS_MAIN(tst_FailureLine)
#include "tst_FailureLine.moc"
