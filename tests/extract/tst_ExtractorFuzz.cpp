// SPDX-License-Identifier: GPL-3.0-or-later
// VELLUMHOUND_FUZZ_FILES=n sets how many mutated files there are in all, VELLUMHOUND_FUZZ_SEED=n
// which; VELLUMHOUND_FUZZ_IN_PROCESS=1 reads them in this process, which is for a sanitizer's sake.
#include "extract/TextExtractor.h"
#include "Reading.h"

#include <QObject>
#include <QTest>

#include <array>
#include <map>
#include <random>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;
using namespace std::chrono_literals;

class tst_ExtractorFuzz final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void mutatedFilesCostNoMoreThanTheirText_data();
    void mutatedFilesCostNoMoreThanTheirText();
    void hostileFilesCostNoMoreThanTheirText_data();
    void hostileFilesCostNoMoreThanTheirText();
};

namespace {

constexpr std::array outcomeNames{"text", "no text", "refused", "too large", "encrypted", "secret",
    "unreadable", "crashed", "timed out", "cancelled", "unavailable"};

TextExtractor::Settings settings()
{
    TextExtractor::Settings settings;
    settings.helperPath = HELPER;
    settings.startTime = 120s;
    return settings;
}

Limits limits()
{
    Limits limits;
    limits.maxTextBytes = 1u << 20;
    limits.cpuTime = 5s;
    limits.wallTime = 240s;
    return limits;
}

Extraction extractFrom(TextExtractor &extractor, std::string_view bytes, std::string_view name)
{
    const OpenFile file(bytes);
    return extractor.extract(file.descriptor(), name, limits());
}

/// Changes documents at random places in the ways in which files go wrong.
class Mutator {
public:
    explicit Mutator(unsigned seed)
        : _random(seed)
    {
    }
    std::size_t below(std::size_t end) { return end == 0 ? 0 : _random() % end; }

    std::string mutated(std::string bytes, const std::string &other)
    {
        for (auto rounds = 1 + below(4); rounds > 0 && !bytes.empty(); --rounds) {
            const auto place = below(bytes.size());
            switch (below(7)) {
            case 0:
                bytes.resize(place);
                break;
            case 1:
                bytes.insert(place, other.substr(below(other.size()), below(400)));
                break;
            case 2:
                bytes.erase(place, below(60));
                break;
            case 3:
                bytes.insert(place, bytes.substr(below(bytes.size()), below(2'000)));
                break;
            case 4:
                bytes.insert(place, below(300), char(below(256)));
                break;
            default:
                flip(bytes);
                break;
            }
        }
        return bytes;
    }

private:
    void flip(std::string &bytes)
    {
        static constexpr std::array<char, 10> telling{
            '\0', '\xFF', '<', '>', '{', '}', '\\', '9', '-', '\x80'};
        for (auto count = 1 + below(12); count > 0; --count)
            bytes[below(bytes.size())] =
                below(2) ? char(below(256)) : telling[below(telling.size())];
    }

    std::mt19937 _random;
};

std::string body(const std::string &text)
{
    return "<w:p><w:r><w:t>" + text + "</w:t></w:r><w:tab/><w:br/></w:p>";
}

/// Documents of one format by name, and whether they are made again from mutated content.
using Make = std::function<std::string(const std::string &content)>;

struct Kind {
    const char *name;
    Make make;
    std::vector<std::string> contents;
};

std::vector<Kind> kinds()
{
    const auto asIs = [](const std::string &content) { return content; };
    const auto onePage = [](const std::string &content) { return pdf({content, "second"}); };
    const auto oneChapter = [](const std::string &content) { return epub({content, "second"}); };
    const auto oneSlide = [](const std::string &content) { return pptx({content, "second"}); };
    const auto oneText = [](const std::string &content) { return xlsx({content, "second"}); };
    const auto multipart =
        "Subject: =?koi8-r?B?0NLJ18XU?=\r\nContent-Type: multipart/mixed; "
        "boundary=\"cut\"\r\n\r\n--cut\r\nContent-Type: text/html; charset=big5\r\n"
        "Content-Transfer-Encoding: quoted-printable\r\n\r\n=3Cp>text=\r\n\r\n--cut\r\n"
        "Content-Type: application/pdf; name*=utf-8''a%20b.pdf\r\n\r\nxx\r\n--cut--\r\n";
    return {{"a.txt", asIs,
                {prose(100),
                    "\xFF\xFE"
                    "a\0b\0",
                    "Caf\xE9 \xEF\xF0\xE8\xE2\xE5\xF2"}},
        {"a.html", asIs,
            {"<!DOCTYPE html><html><head><meta charset=utf-8><title>t</title><script>a<b</script>"
             "</head><body><table><tr><td>a<td>b</table><p>&amp;&#x20;&nbsp;text<!-- c --></body>",
                repeated("<div><p><b>x</i></p>", 20)}},
        {"a.svg", asIs,
            {"<?xml version=\"1.0\"?><!DOCTYPE svg [<!ENTITY e \"f\">]><svg xmlns:x=\"u\"><text "
             "x:y=\"1\"><![CDATA[a]]>&e;</text></svg>"}},
        {"a.pdf", onePage, {prose(60), "Tj ET BT [(a) -200 (b)] TJ /F1 1 Tf"}},
        {"a.odt", odt, {"<text:p>one<text:s/>two</text:p>", repeated("<text:p>x</text:p>", 50)}},
        {"a.docx", docx, {body("one") + body("two"), repeated(body("x"), 30)}},
        {"a.xlsx", oneText, {"text", "a</t><rPh>b</rPh><t>c"}},
        {"a.pptx", oneSlide, {"text", "a</a:t><a:t>b"}},
        {"a.epub", oneChapter, {"text", "a<br/>b<p/>&nbsp;"}},
        {"a.rtf", rtf,
            {"{\\b one}\\par\\u8364?\\'e9{\\pict ff}{\\field{\\*\\fldinst x}{\\fldrslt y}}",
                "\\bin3 abc\\f1 \\'ef\\uc2\\u-10179??\\u-8704??"}},
        {"a.eml", asIs, {mail("s", prose(30)), multipart}},
        {"a.mbox", asIs,
            {"From a Thu Jan  1 00:00:00 1970\n" + mail("s", "b") + "\nFrom b\n" + multipart}}};
}

int filesOfEachKind()
{
    const int all = qEnvironmentVariableIntValue("VELLUMHOUND_FUZZ_FILES");
    return std::max(1, (all > 0 ? all : 2'400) / int(kinds().size()));
}

/// Half of the files are damaged themselves, half made properly from damaged content.
std::string mutatedFile(const Kind &kind, Mutator &mutator)
{
    const auto &content = kind.contents[mutator.below(kind.contents.size())];
    const auto &other = kind.contents[mutator.below(kind.contents.size())];
    if (mutator.below(2) == 0)
        return kind.make(mutator.mutated(content, other));
    return mutator.mutated(kind.make(content), kind.make(other));
}

}  // namespace

void tst_ExtractorFuzz::mutatedFilesCostNoMoreThanTheirText_data()
{
    QTest::addColumn<int>("number");
    const auto all = kinds();
    for (std::size_t i = 0; i < all.size(); ++i)
        QTest::newRow(all[i].name) << int(i);
}

void tst_ExtractorFuzz::mutatedFilesCostNoMoreThanTheirText()
{
    QFETCH(int, number);
    const auto kind = kinds().at(std::size_t(number));
    Mutator mutator(
        unsigned(qEnvironmentVariableIntValue("VELLUMHOUND_FUZZ_SEED")) + unsigned(number));
    TextExtractor extractor(settings());
    const bool isInProcess = qEnvironmentVariableIsSet("VELLUMHOUND_FUZZ_IN_PROCESS");
    std::map<Outcome, int> counts;

    for (int i = 0; i < filesOfEachKind(); ++i) {
        const auto bytes = mutatedFile(kind, mutator);
        if (isInProcess) {
            readAs(formatOf(kind.name), bytes, 1u << 20);
            continue;
        }
        const auto extraction = extractFrom(extractor, bytes, kind.name);
        ++counts[extraction.outcome];
        QVERIFY(extraction.text.size() <= limits().maxTextBytes);
        QVERIFY(extraction.text.empty() == (extraction.outcome != Outcome::text));
    }

    QCOMPARE(counts[Outcome::unavailable], 0);
    for (const auto &[outcome, count] : counts)
        qInfo("%s: %d files: %s", kind.name, count, outcomeNames.at(std::size_t(outcome)));
    QCOMPARE(extractFrom(extractor, "a sound file", "a.txt").text, "a sound file");
}

void tst_ExtractorFuzz::hostileFilesCostNoMoreThanTheirText_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<Make>("make");
    const auto row = [](const char *what, const char *name, auto make) {
        QTest::newRow(what) << QByteArray(name)
                            << Make([make](const std::string &) { return make(); });
    };
    row("10 GB of zeros", "a.docx", [] { return zipBomb("word/document.xml", 10); });
    row("10 GB of zeros in a book", "a.epub", [] { return zipBomb("a.xhtml", 10); });
    row("archives in archives", "a.odt", [] {
        auto inner = zip({{"content.xml", prose(100)}});
        for (int i = 0; i < 50; ++i)
            inner = zip({{"content.xml", inner}, {"other.zip", inner.substr(0, 10'000)}});
        return inner;
    });
    row("entities that grow", "a.svg", [] {
        std::string xml = "<!DOCTYPE svg [<!ENTITY a \"laughter\">";
        for (char c = 'b'; c <= 'z'; ++c)
            xml += std::string("<!ENTITY ") + c + " \"" +
                   repeated(std::string("&") + char(c - 1) + ";", 10) + "\">";
        return xml + "]><svg><text a=\"&z;\">&z;</text></svg>";
    });
    row("100,000 nested elements", "a.html", [] { return repeated("<div>", 100'000) + "x"; });
    row("100,000 nested links", "a.html", [] { return repeated("<a><b><table>", 100'000) + "x"; });
    row("100,000 nested elements of XML", "a.svg",
        [] { return repeated("<text>", 100'000) + "x"; });
    row("100,000 attributes", "a.html", [] { return "<p " + repeated("a=b ", 100'000) + ">x"; });
    row("a page tree that contains itself", "a.pdf", [] {
        return pdfOfObjects({"<< /Type /Catalog /Pages 2 0 R >>",
            "<< /Type /Pages /Kids [2 0 R 2 0 R] /Count 2000000000 >>"});
    });
    row("a form that draws itself", "a.pdf", [] {
        return pdfOfObjects(
            {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] /Contents 5 0 R /Resources << "
                "/XObject << /X 4 0 R "
                ">> >> >>",
                "<< /Type /XObject /Subtype /Form /BBox [0 0 9 9] /Resources << /XObject << /X 4 0 "
                "R >> >> /Length 11 "
                ">>\nstream\n/X Do /X Do\nendstream",
                "<< /Length 5 >>\nstream\n/X Do\nendstream"});
    });
    row("arrays without end", "a.pdf",
        [] { return pdfOfObjects({"<< /Type /Catalog /Pages " + repeated("[", 1'000'000)}); });
    row("a million groups", "a.rtf", [] { return rtf(repeated("{", 1'000'000)); });
    row("a million fonts", "a.rtf",
        [] { return rtf("{\\fonttbl" + repeated("{\\f7\\fcharset204 x;}", 200'000) + "}"); });
    row("10,000 nested multiparts", "a.eml", [] {
        std::string message = "Subject: s\r\n";
        for (int i = 0; i < 10'000; ++i) {
            const auto boundary = std::to_string(i);
            message += "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" +
                       boundary + "\r\n";
        }
        return message;
    });
    row("10,000 nested messages", "a.eml",
        [] { return repeated("Subject: s\r\nContent-Type: message/rfc822\r\n\r\n", 10'000); });
    row("one line of 100 MB", "a.eml", [] { return "Subject: " + std::string(100'000'000, 'x'); });
    row("200 MB without a line", "a.txt", [] { return std::string(200'000'000, 'x'); });
    row("100 MB of markup", "a.html", [] { return repeated("<p>&amp;<br>", 100'000'000 / 12); });
}

void tst_ExtractorFuzz::hostileFilesCostNoMoreThanTheirText()
{
    QFETCH(QByteArray, name);
    QFETCH(Make, make);
    TextExtractor extractor(settings());

    const auto extraction = extractFrom(extractor, make({}), name.toStdString());

    qInfo("%s: %zu bytes of text", outcomeNames.at(std::size_t(extraction.outcome)),
        extraction.text.size());
    QVERIFY(extraction.outcome != Outcome::unavailable);
    QVERIFY(extraction.text.size() <= limits().maxTextBytes);
    QCOMPARE(extractFrom(extractor, "a sound file", "a.txt").text, "a sound file");
}

QTEST_GUILESS_MAIN(tst_ExtractorFuzz)
#include "tst_ExtractorFuzz.moc"
