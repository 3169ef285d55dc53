// SPDX-License-Identifier: GPL-3.0-or-later
#include "preview/ByteCount.h"

#include <QtTest>

using vellumhound::preview::byteCountText;
using namespace Qt::StringLiterals;

class TestByteCount : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sizesReadAsAPersonSaysThem_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");
        const auto row = [](qint64 bytes, const QString &text) {
            QTest::addRow("%lld", static_cast<long long>(bytes)) << bytes << text;
        };
        row(0, u"Zero kB"_s);
        row(1, u"1 byte"_s);
        row(2, u"2 bytes"_s);
        row(999, u"999 bytes"_s);
        row(1000, u"1 kB"_s);
        row(1499, u"1 kB"_s);
        row(999'499, u"999 kB"_s);
        row(999'500, u"1 MB"_s);
        row(1'234'567, u"1.2 MB"_s);
        row(2'000'000, u"2 MB"_s);
        row(999'960'000, u"1 GB"_s);
        row(1'234'567'890, u"1.23 GB"_s);
        row(5'500'000'000'000, u"5.5 TB"_s);
        row(std::numeric_limits<qint64>::max(), u"9.22 EB"_s);
    }
    void sizesReadAsAPersonSaysThem()
    {
        QFETCH(qint64, bytes);
        QFETCH(QString, text);

        QCOMPARE(byteCountText(bytes, QLocale(u"en_US"_s)), text);
    }

    void theLocaleHasItsOwnPoint()
    {
        QCOMPARE(byteCountText(1'234'567, QLocale(u"de_DE"_s)), u"1,2 MB"_s);
    }
};

QTEST_APPLESS_MAIN(TestByteCount)
#include "tst_ByteCount.moc"
