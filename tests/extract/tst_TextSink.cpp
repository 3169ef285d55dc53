// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/TextSink.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::extract::helper;
using namespace std::chrono_literals;

class tst_TextSink final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hiddenCharactersAreLeftOut();
    void blanksOfAllKindsBecomePlainOnes();
    void invalidBytesBecomeReplacementCharacters();
    void runsOfWhiteSpaceCollapse();
    void theTextIsCutBetweenCharacters();
    void longTextComesInSmallPieces();
    void aTakerThatHasEnoughEndsIt();
    void timeThatIsUpEndsIt();
};

namespace {

template <class Write> std::string sunk(Write write, std::uint64_t maxBytes = 1'000'000)
{
    std::string text;
    TextSink sink({maxBytes, 1h}, [&](std::string_view piece) {
        text += piece;
        return true;
    });
    write(sink);
    sink.finish();
    return text;
}

std::string cleaned(std::string_view text)
{
    return sunk([&](TextSink &sink) { sink.append(text); });
}

}  // namespace

void tst_TextSink::hiddenCharactersAreLeftOut()
{
    QCOMPARE(cleaned("in\u00ADter\u200Bna\u200Dtio\u200Cnal"), "international");
    QCOMPARE(cleaned("\uFEFFbeginning"), "beginning");
    QCOMPARE(cleaned("\u202Eleft\u202C\u2066right\u2069"), "leftright");
}

void tst_TextSink::blanksOfAllKindsBecomePlainOnes()
{
    QCOMPARE(cleaned("a\u00A0b\u2009c\u3000d"), "a b c d");
    QCOMPARE(cleaned("one\r\ntwo\rthree\u2028four"), "one\ntwo\nthree\nfour");
    QCOMPARE(cleaned(std::string_view("a\0b\x01"
                                      "c\x7F"
                                      "d",
                 7)),
        "a b c d");
}

void tst_TextSink::invalidBytesBecomeReplacementCharacters()
{
    QCOMPARE(cleaned("a\xFF"
                     "b\xC3"),
        "a\uFFFDb\uFFFD");
    QCOMPARE(sunk([](TextSink &sink) { sink.append(char32_t(0xD800)); }), "\uFFFD");
}

void tst_TextSink::runsOfWhiteSpaceCollapse()
{
    const auto text = sunk([](TextSink &sink) {
        sink.appendCollapsed("  one \n\t two");
        sink.appendCollapsed("three ");
        sink.separate('\n');
        sink.appendCollapsed("\nfour");
    });

    QCOMPARE(text, "one twothree\nfour");
}

void tst_TextSink::theTextIsCutBetweenCharacters()
{
    QCOMPARE(sunk([](TextSink &sink) { sink.append("abcdef"); }, 4), "abcd");

    TextSink sink({4, 1h}, [](std::string_view) { return true; });
    sink.append("abc\u20AC!");
    QVERIFY(sink.isFull());
    QVERIFY(sink.isCut());
    QCOMPARE(sink.bytes(), 3u);
}

void tst_TextSink::longTextComesInSmallPieces()
{
    const std::string text(1'000'000, 'x');
    std::size_t most = 0;
    TextSink sink({text.size(), 1h}, [&](std::string_view piece) {
        most = std::max(most, piece.size());
        return true;
    });

    sink.append(text);
    sink.finish();

    QCOMPARE(sink.bytes(), text.size());
    QVERIFY(!sink.isCut());
    QVERIFY(most <= 32 * 1024);
}

void tst_TextSink::aTakerThatHasEnoughEndsIt()
{
    TextSink sink({10'000'000, 1h}, [](std::string_view) { return false; });

    sink.append(std::string(100'000, 'x'));

    QVERIFY(sink.isFull());
    QVERIFY(!sink.finish());
}

void tst_TextSink::timeThatIsUpEndsIt()
{
    TextSink sink({1'000, 0ns}, [](std::string_view) { return true; });

    QVERIFY(sink.isFullNow());
    QVERIFY(sink.isCut());
}

QTEST_APPLESS_MAIN(tst_TextSink)
#include "tst_TextSink.moc"
