// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Crc32c.h"

#include <QObject>
#include <QTest>

#include <random>
#include <string>

using namespace vellumhound;

class tst_Crc32c final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theCheckValueOfTheStandardComesOut();
    void bothFormsAgreeAndAnyPieceCanBeContinued();
};

namespace {

std::span<const std::byte> bytesOf(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

}  // namespace

void tst_Crc32c::theCheckValueOfTheStandardComesOut()
{
    QCOMPARE(base::crc32c(bytesOf("123456789")), 0xE3069283U);
    QCOMPARE(base::crc32cByTable(bytesOf("123456789")), 0xE3069283U);
    QCOMPARE(base::crc32c({}), 0U);
}

void tst_Crc32c::bothFormsAgreeAndAnyPieceCanBeContinued()
{
    std::mt19937 random(1);
    std::string text(40'000, '\0');
    for (auto &byte : text)
        byte = char(random());
    const auto bytes = bytesOf(text);

    for (std::size_t length = 0; length < text.size(); length += 997) {
        const auto whole = base::crc32cByTable(bytes.first(length));
        const auto half = length / 2;
        QCOMPARE(base::crc32c(bytes.first(length)), whole);
        QCOMPARE(base::crc32c(bytes.subspan(half, length - half), base::crc32c(bytes.first(half))),
            whole);
    }
}

QTEST_APPLESS_MAIN(tst_Crc32c)
#include "tst_Crc32c.moc"
