// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"

#include <QTest>

#include <random>

using namespace vellumhound::base;
using namespace Qt::StringLiterals;

namespace {

const auto home = u"/home/tester"_s;

bool makesTheRoundTrip(const std::string &bytes)
{
    return pathToBytes(pathFromBytes(bytes)).toStdString() == bytes;
}

}  // namespace

class tst_NativePath : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("HOME", "/home/tester//"); }

    void everyStringOfOneOrTwoBytesMakesTheRoundTrip()
    {
        int failures = 0;
        for (int first = 0; first < 256; ++first) {
            failures += !makesTheRoundTrip({char(first)});
            for (int second = 0; second < 256; ++second)
                failures += !makesTheRoundTrip({char(first), char(second)});
        }
        QCOMPARE(failures, 0);
    }

    void everyCharacterMakesTheRoundTripAndStaysText()
    {
        int failures = 0;
        for (char32_t code = 1; code <= 0x10FFFF; ++code) {
            if (code >= 0xD800 && code <= 0xDFFF)
                continue;
            const auto text = QString::fromUcs4(&code, 1);
            const auto bytes = text.toUtf8().toStdString();
            failures += pathFromBytes(bytes) != text || !makesTheRoundTrip(bytes);
        }
        QCOMPARE(failures, 0);
    }

    void mixedStringsMakeTheRoundTrip()
    {
        // Bytes at the borders of what UTF-8 allows, in every company.
        const std::string bytes("a/\x7F\x80\x8F\x90\x9F\xA0\xBB\xBF\xC0\xC1\xC2\xDF\xE0\xED\xEF\xF0"
                                "\xF4\xF5\xFE\xFF");
        std::mt19937 random(7);
        int failures = 0;
        for (int i = 0; i < 200'000; ++i) {
            std::string text;
            for (auto length = random() % 9; length > 0; --length)
                text += bytes[random() % bytes.size()];
            failures += !makesTheRoundTrip(text);
        }
        QCOMPARE(failures, 0);
    }

    void aByteOrderMarkIsPartOfAName()
    {
        QCOMPARE(pathFromBytes("\xEF\xBB\xBF"
                               "a"),
            u"\uFEFFa"_s);
        QVERIFY(makesTheRoundTrip("\xEF\xBB\xBF"));
        QVERIFY(makesTheRoundTrip("a\xFF\xEF\xBB\xBF"
                                  "b"));
    }

    void undecodableBytesStandAsLoneSurrogates()
    {
        QCOMPARE(pathFromBytes("a\xFF"), u"a"_s + QChar(0xDCFF));
        QCOMPARE(pathFromBytes("\xC3(").at(0), QChar(0xDCC3));
        QCOMPARE(pathFromBytes("\xED\xA0\x80").size(), 3);
        QCOMPARE(pathFromBytes("").size(), 0);
        QVERIFY(pathToBytes({}).isEmpty());
    }

    void anEscapedByteBehindAPairStaysAByte()
    {
        const std::string bytes("\xF0\x9F\x8E\xB5\xFF");
        QCOMPARE(pathFromBytes(bytes).size(), 3);
        QVERIFY(makesTheRoundTrip(bytes));
    }

    void printedPathsHideNothing()
    {
        const auto bad = QChar(QChar::ReplacementCharacter);
        QCOMPARE(printablePath(u"/a/ä 🎵"_s), u"/a/ä 🎵"_s);
        QCOMPARE(printablePath(u"a\nb\rc\td\u0000e\u007Ff\u0085g"_s),
            u"a?b?c?d?e?f?g"_s.replace(u'?', bad));
        QCOMPARE(printablePath(u"photo_\u202Egpj.exe"_s), u"photo_?gpj.exe"_s.replace(u'?', bad));
        for (const char16_t code :
            {u'\u202A', u'\u202B', u'\u202C', u'\u202D', u'\u2066', u'\u2067', u'\u2068', u'\u2069',
                u'\u200E', u'\u200F', u'\u061C', u'\u2028', u'\u2029'})
            QCOMPARE(printablePath(QString(QChar(code))), QString(bad));
        QCOMPARE(printablePath(pathFromBytes("a\xFF\xFE")), u"a"_s + bad + bad);
        QCOMPARE(printablePath(QString(QChar(0xD800))), QString(bad));
        QCOMPARE(printablePath({}), QString());
    }

    void componentsAreAppendedWithOneSlash()
    {
        QCOMPARE(appendingPathComponent(u"/a"_s, u"b"_s), u"/a/b"_s);
        QCOMPARE(appendingPathComponent(u"/a/"_s, u"b"_s), u"/a/b"_s);
        QCOMPARE(appendingPathComponent(u"/a//"_s, u"/b/"_s), u"/a/b"_s);
        QCOMPARE(appendingPathComponent(u"/a/"_s, u""_s), u"/a"_s);
        QCOMPARE(appendingPathComponent(u"/a"_s, u"/"_s), u"/a"_s);
        QCOMPARE(appendingPathComponent(u"/"_s, u"b"_s), u"/b"_s);
        QCOMPARE(appendingPathComponent(u"/"_s, u""_s), u"/"_s);
        QCOMPARE(appendingPathComponent(u""_s, u"b"_s), u"b"_s);
    }

    void theLastComponentIsBehindTheLastSlash()
    {
        QCOMPARE(lastPathComponent(u"/a/b"_s), u"b"_s);
        QCOMPARE(lastPathComponent(u"/a/b//"_s), u"b"_s);
        QCOMPARE(lastPathComponent(u"/a"_s), u"a"_s);
        QCOMPARE(lastPathComponent(u"a"_s), u"a"_s);
        QCOMPARE(lastPathComponent(u"/"_s), u"/"_s);
        QCOMPARE(lastPathComponent(u"//"_s), u"/"_s);
        QCOMPARE(lastPathComponent(u""_s), u""_s);
    }

    void theLastComponentCanBeDeleted()
    {
        QCOMPARE(deletingLastPathComponent(u"/a/b"_s), u"/a"_s);
        QCOMPARE(deletingLastPathComponent(u"/a/b/"_s), u"/a"_s);
        QCOMPARE(deletingLastPathComponent(u"/a//b"_s), u"/a"_s);
        QCOMPARE(deletingLastPathComponent(u"/a"_s), u"/"_s);
        QCOMPARE(deletingLastPathComponent(u"//a"_s), u"/"_s);
        QCOMPARE(deletingLastPathComponent(u"/"_s), u"/"_s);
        QCOMPARE(deletingLastPathComponent(u"a"_s), u""_s);
        QCOMPARE(deletingLastPathComponent(u""_s), u""_s);
    }

    void componentsResolveDots()
    {
        QCOMPARE(standardizedComponents(u"/a/./b/../c//"_s), (QStringList{u"/"_s, u"a"_s, u"c"_s}));
        QCOMPARE(standardizedComponents(u"/../.."_s), QStringList{u"/"_s});
        QCOMPARE(standardizedComponents(u"/..a/.b"_s), (QStringList{u"/"_s, u"..a"_s, u".b"_s}));
        QCOMPARE(standardizedComponents(u"/"_s), QStringList{u"/"_s});
    }

    void aTildeIsTheHomeFolder()
    {
        QCOMPARE(homeDirectoryPath(), home);
        QCOMPARE(expandTilde(u"~"_s), home);
        QCOMPARE(expandTilde(u"~/"_s), home);
        QCOMPARE(expandTilde(u"~/a/b"_s), home + u"/a/b"_s);
        QCOMPARE(expandTilde(u"~other"_s), home + u"/other"_s);
        QCOMPARE(expandTilde(u"/a/~"_s), u"/a/~"_s);
        QCOMPARE(expandTilde(u"a"_s), u"a"_s);
        QCOMPARE(expandTilde(u""_s), u""_s);
    }

    void aBaseDirectoryIsWhatItsVariableNamesIfThatIsAbsolute()
    {
        const auto variable = "VELLUMHOUND_TEST_FOLDER";
        qunsetenv(variable);
        QCOMPARE(baseDirectory(variable, u".config"_s), home + u"/.config"_s);
        for (const auto *relative : {"", "config", "./config"}) {
            qputenv(variable, relative);
            QCOMPARE(baseDirectory(variable, u".config"_s), home + u"/.config"_s);
        }
        qputenv(variable, "/caf\xE9");
        QCOMPARE(pathToBytes(baseDirectory(variable, u".config"_s)), "/caf\xE9");
    }
};

QTEST_APPLESS_MAIN(tst_NativePath)
#include "tst_NativePath.moc"
