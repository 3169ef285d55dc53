// SPDX-License-Identifier: GPL-3.0-or-later
#include "Documents.h"
#include "extract/TextExtractor.h"

#include <QFile>
#include <QObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <sys/wait.h>
#include <thread>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;
using namespace std::chrono_literals;

class tst_TextExtractor final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFormatIsReadThroughTheHelper_data();
    void everyFormatIsReadThroughTheHelper();
    void headersInAnyCharacterSetAreDecodedInsideTheSandbox();
    void thePdfLibraryFindsItsTablesInsideTheSandbox();
    void manyFilesAreServedByOneHelper();
    void theOffsetOfTheFileStaysWhereItIs();
    void onlyRegularFilesAreRead();
    void aTextWithAKeyIsNotGivenOut();
    void aFileThatTheDiskRefusesIsNotOneWithoutText();
    void limitsReachTheHelper();
    void filesThatAreTooLargeAreNotSent();
    void aHelperThatDiesBetweenTwoFilesIsReplaced();
    void aHelperIsReplacedAfterSoManyFiles();
    void theHelperEndsWithTheExtractor();
    void aFaultCostsOneFile_data();
    void aFaultCostsOneFile();
    void aHelperThatTakesTooLongIsEnded_data();
    void aHelperThatTakesTooLongIsEnded();
    void anExtractionCanBeCancelledFromOutside();
    void thatTheKernelConfinesLessIsToldOnce();
    void aHelperThatDoesNotStartIsTriedLessAndLessOften_data();
    void aHelperThatDoesNotStartIsTriedLessAndLessOften();
};

namespace {

/// The processes that this one has started and not reaped.
std::vector<pid_t> helperProcesses()
{
    std::vector<pid_t> all;
    std::ifstream list("/proc/thread-self/children");
    for (pid_t child = 0; list >> child;)
        all.push_back(child);
    return all;
}

bool isGone(pid_t process)
{
    return ::kill(process, 0) != 0;
}

Extraction extractFrom(TextExtractor &extractor, std::string_view bytes, std::string_view name,
    const Limits &limits = {})
{
    const OpenFile file(bytes);
    return extractor.extract(file.descriptor(), name, limits);
}

TextExtractor::Settings withHelper(const std::string &path)
{
    TextExtractor::Settings settings;
    settings.helperPath = path;
    settings.startTime = 120s;  // patience with a busy machine
    return settings;
}

Limits patient()
{
    Limits limits;
    limits.wallTime = 240s;
    limits.cpuTime = 120s;
    return limits;
}

/// The program that behaves badly in that way.
class Misbehaving {
public:
    explicit Misbehaving(const QByteArray &fault)
        : _path(_folder.filePath(QString::fromUtf8(fault)))
    {
        QFile::link(QStringLiteral(MISBEHAVING_HELPER), _path);
    }
    TextExtractor::Settings settings() const { return withHelper(_path.toStdString()); }
    /// From now on the real helper is there.
    void mend() const
    {
        QFile::remove(_path);
        QFile::link(QStringLiteral(HELPER), _path);
    }

private:
    QTemporaryDir _folder;
    QString _path;
};

void expectWarning(const char *pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QString::fromUtf8(pattern)));
}

}  // namespace

void tst_TextExtractor::everyFormatIsReadThroughTheHelper_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char *name, const std::string &bytes) {
        QTest::newRow(name) << QByteArray(name)
                            << QByteArray(bytes.data(), qsizetype(bytes.size()));
    };
    row("a.txt", "a needle in it");
    row("README", "caf\xE9 and a needle");
    row("a.html", "<p>a needle</p>");
    row("a.svg", "<svg><text>a needle</text></svg>");
    row("a.pdf", pdf({"page", "a needle"}));
    row("a.odt", odt("<text:p>a needle</text:p>"));
    row("a.docx", docx("<w:p><w:t>a needle</w:t></w:p>"));
    row("a.xlsx", xlsx({"a needle"}));
    row("a.pptx", pptx({"a needle"}));
    row("a.epub", epub({"a needle"}));
    row("a.rtf", rtf("a needle"));
    row("a.eml", mail("=?windows-1251?B?z/Do4uXy?=", "a needle"));
    row("a.mbox", "From a Thu Jan  1 00:00:00 1970\n" + mail("s", "a needle"));
}

void tst_TextExtractor::everyFormatIsReadThroughTheHelper()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, bytes);
    TextExtractor extractor(withHelper(HELPER));

    const auto extraction =
        extractFrom(extractor, bytes.toStdString(), name.toStdString(), patient());

    QCOMPARE(extraction.outcome, Outcome::text);
    QVERIFY2(extraction.text.find("needle") != std::string::npos, extraction.text.c_str());
    QVERIFY(!extraction.isCut);
}

void tst_TextExtractor::headersInAnyCharacterSetAreDecodedInsideTheSandbox()
{
    TextExtractor extractor(withHelper(HELPER));
    const auto subject = [&](const std::string &encoded) {
        const auto text = extractFrom(extractor, mail(encoded, "body"), "a.eml", patient()).text;
        return text.substr(0, text.find('\n'));
    };

    QCOMPARE(subject("=?windows-1251?B?z/Do4uXy?="), "Привет");
    QCOMPARE(subject("=?koi8-r?B?8NLJ18XU?="), "Привет");
    QCOMPARE(subject("=?iso-8859-1?Q?caf=E9?="), "café");
    QCOMPARE(subject("=?iso-2022-jp?B?GyRCRnxLXBsoQg==?="), "日本");
    QCOMPARE(subject("=?gb2312?B?1tC5+g==?="), "中国");
}

void tst_TextExtractor::thePdfLibraryFindsItsTablesInsideTheSandbox()
{
    TextExtractor extractor(withHelper(HELPER));
    const auto document = pdfOfObjects({"<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R /Resources << /Font "
        "<< /F1 5 0 R >> >> >>",
        "<< /Length 40 >>\nstream\nBT /F1 12 Tf 10 700 Td <93FA967B> Tj ET  \nendstream",
        "<< /Type /Font /Subtype /Type0 /BaseFont /Some /Encoding /90ms-RKSJ-H /DescendantFonts "
        "[6 0 R] >>",
        "<< /Type /Font /Subtype /CIDFontType0 /BaseFont /Some /CIDSystemInfo << /Registry (Adobe) "
        "/Ordering (Japan1) /Supplement 2 >> /FontDescriptor << /Type /FontDescriptor /FontName "
        "/Some /Flags 4 >> >>"});

    const auto text = extractFrom(extractor, document, "a.pdf", patient()).text;

    QCOMPARE(text.substr(0, text.find('\n')), "日本");
}

void tst_TextExtractor::manyFilesAreServedByOneHelper()
{
    TextExtractor extractor(withHelper(HELPER));
    QVERIFY(extractFrom(extractor, "first", "a.txt", patient()).outcome == Outcome::text);
    const auto helpers = helperProcesses();
    QCOMPARE(helpers.size(), 1u);

    for (int i = 0; i < 200; ++i) {
        const auto text = "file number " + std::to_string(i);
        QCOMPARE(extractFrom(extractor, text, "a.txt", patient()).text, text);
    }

    QCOMPARE(helperProcesses(), helpers);
}

void tst_TextExtractor::theOffsetOfTheFileStaysWhereItIs()
{
    TextExtractor extractor(withHelper(HELPER));
    for (const auto *name : {"a.txt", "a.docx", "a.eml"}) {
        const OpenFile file(docx("<w:p><w:t>text</w:t></w:p>"));
        ::lseek(file.descriptor(), 7, SEEK_SET);

        extractor.extract(file.descriptor(), name, patient());

        QCOMPARE(::lseek(file.descriptor(), 0, SEEK_CUR), 7);
    }
}

void tst_TextExtractor::onlyRegularFilesAreRead()
{
    TextExtractor extractor(withHelper(HELPER));
    const int folder = ::open("/", O_RDONLY | O_DIRECTORY);
    const int device = ::open("/dev/zero", O_RDONLY);

    QCOMPARE(extractor.extract(folder, "a.txt").outcome, Outcome::refused);
    QCOMPARE(extractor.extract(device, "a.txt").outcome, Outcome::refused);
    QCOMPARE(extractor.extract(-1, "a.txt").outcome, Outcome::refused);
    QCOMPARE(extractFrom(extractor, "", "a.txt").outcome, Outcome::noText);
    QCOMPARE(extractFrom(extractor, "text", "photo.jpeg").outcome, Outcome::noText);
    QVERIFY(helperProcesses().empty());
    ::close(folder);
    ::close(device);
}

void tst_TextExtractor::aTextWithAKeyIsNotGivenOut()
{
    TextExtractor extractor(withHelper(HELPER));
    const auto key = std::string(5, '-') + "BEGIN OPENSSH PRIVATE KEY" + std::string(5, '-');

    QCOMPARE(extractFrom(extractor, key + "\nzebra", "notes.txt", patient()),
        (Extraction{Outcome::secret, {}, false}));
    QCOMPARE(extractFrom(extractor, docx("<w:p><w:t>" + key + "</w:t></w:p>"), "a.docx", patient())
                 .outcome,
        Outcome::secret);
}

void tst_TextExtractor::aFileThatTheDiskRefusesIsNotOneWithoutText()
{
    TextExtractor extractor(withHelper(HELPER));
    const OpenFile file(docx("<w:p><w:t>text</w:t></w:p>"));
    const auto path = "/proc/self/fd/" + std::to_string(file.descriptor());
    const int refused = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);  // reading it fails

    for (const auto *name : {"a.txt", "a.docx", "a.html", "a.eml", "a.rtf"})
        QCOMPARE(extractor.extract(refused, name, patient()).outcome, Outcome::unreadable);
    QCOMPARE(extractor.extract(file.descriptor(), "a.docx", patient()).outcome, Outcome::text);
    ::close(refused);
}

void tst_TextExtractor::limitsReachTheHelper()
{
    TextExtractor extractor(withHelper(HELPER));
    auto limits = patient();
    limits.maxTextBytes = 100'000;

    const auto extraction = extractFrom(extractor, repeated("text ", 100'000), "a.txt", limits);

    QCOMPARE(extraction.outcome, Outcome::text);
    QCOMPARE(extraction.text.size(), 100'000u);
    QVERIFY(extraction.isCut);
}

void tst_TextExtractor::filesThatAreTooLargeAreNotSent()
{
    TextExtractor extractor(withHelper(HELPER));
    auto limits = patient();
    limits.maxInputBytes = 1'000;

    QCOMPARE(extractFrom(extractor, pdf({prose(500)}), "a.pdf", limits).outcome, Outcome::tooLarge);
    QVERIFY(helperProcesses().empty());
    QCOMPARE(extractFrom(extractor, prose(500), "a.log", limits).outcome, Outcome::text);
}

void tst_TextExtractor::aHelperThatDiesBetweenTwoFilesIsReplaced()
{
    TextExtractor extractor(withHelper(HELPER));
    extractFrom(extractor, "first", "a.txt", patient());
    const auto helpers = helperProcesses();

    ::kill(helpers.at(0), SIGSEGV);
    siginfo_t info{};
    ::waitid(P_PID, id_t(helpers.at(0)), &info, WEXITED | WNOWAIT);

    QCOMPARE(extractFrom(extractor, "second", "a.txt", patient()).text, "second");
    QVERIFY(helperProcesses() != helpers);
    QVERIFY(isGone(helpers.at(0)));
}

void tst_TextExtractor::aHelperIsReplacedAfterSoManyFiles()
{
    auto settings = withHelper(HELPER);
    settings.filesPerHelper = 2;
    TextExtractor extractor(settings);
    std::vector<pid_t> helpers;

    for (int i = 0; i < 4; ++i) {
        QCOMPARE(extractFrom(extractor, "text", "a.txt", patient()).outcome, Outcome::text);
        QCOMPARE(helperProcesses().size(), 1u);
        helpers.push_back(helperProcesses().at(0));
    }

    QVERIFY(helpers[0] == helpers[1]);
    QVERIFY(helpers[1] != helpers[2]);
    QVERIFY(helpers[2] == helpers[3]);
}

void tst_TextExtractor::theHelperEndsWithTheExtractor()
{
    auto extractor = std::make_unique<TextExtractor>(withHelper(HELPER));
    extractFrom(*extractor, "text", "a.txt", patient());
    const auto helpers = helperProcesses();

    extractor.reset();

    QVERIFY(isGone(helpers.at(0)));
    QVERIFY(helperProcesses().empty());
}

void tst_TextExtractor::aFaultCostsOneFile_data()
{
    QTest::addColumn<QByteArray>("fault");
    for (const auto *fault : {"crash", "exit", "garbage", "too-long", "flood", "other-request",
             "wrong-size", "wrong-status", "invalid-text", "descriptor"})
        QTest::newRow(fault) << QByteArray(fault);
}

void tst_TextExtractor::aFaultCostsOneFile()
{
    QFETCH(QByteArray, fault);
    const Misbehaving helper(fault);
    TextExtractor extractor(helper.settings());
    expectWarning("the helper gave up a file");

    const auto extraction = extractFrom(extractor, "text", "a.txt", patient());
    helper.mend();

    QCOMPARE(extraction, (Extraction{Outcome::crashed, {}, false}));
    QCOMPARE(extractFrom(extractor, "next", "a.txt", patient()).text, "next");
}

void tst_TextExtractor::aHelperThatTakesTooLongIsEnded_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<int>("wallMilliseconds");
    QTest::addColumn<int>("cpuMilliseconds");
    QTest::newRow("sleeps") << QByteArray("hang") << 100 << 100'000;
    QTest::newRow("works without end") << QByteArray("spin") << 100'000 << 100;
    QTest::newRow("sends nothing again and again") << QByteArray("drip") << 100 << 100'000;
}

void tst_TextExtractor::aHelperThatTakesTooLongIsEnded()
{
    QFETCH(QByteArray, fault);
    QFETCH(int, wallMilliseconds);
    QFETCH(int, cpuMilliseconds);
    const Misbehaving helper(fault);
    TextExtractor extractor(helper.settings());
    Limits limits;
    limits.wallTime = std::chrono::milliseconds(wallMilliseconds);
    limits.cpuTime = std::chrono::milliseconds(cpuMilliseconds);
    expectWarning("took too long");

    const auto extraction = extractFrom(extractor, "text", "a.txt", limits);
    helper.mend();

    QCOMPARE(extraction.outcome, Outcome::timedOut);
    QCOMPARE(extractFrom(extractor, "next", "a.txt", patient()).text, "next");
}

void tst_TextExtractor::anExtractionCanBeCancelledFromOutside()
{
    for (const auto *fault : {"hang", "says-nothing"}) {
        const Misbehaving helper(fault);
        TextExtractor extractor(helper.settings());
        Extraction extraction;

        std::thread worker(
            [&] { extraction = extractFrom(extractor, "text", "a.txt", patient()); });
        extractor.cancel();
        worker.join();

        QCOMPARE(extraction.outcome, Outcome::cancelled);
        QCOMPARE(extractFrom(extractor, "text", "a.txt").outcome, Outcome::cancelled);
    }
}

void tst_TextExtractor::thatTheKernelConfinesLessIsToldOnce()
{
    const Misbehaving helper("no-landlock");
    auto settings = helper.settings();
    settings.filesPerHelper = 1;
    TextExtractor extractor(settings);
    expectWarning("has no landlock");
    QTest::failOnWarning(QRegularExpression(QStringLiteral("landlock")));

    for (int i = 0; i < 3; ++i)
        QCOMPARE(extractFrom(extractor, "text", "a.txt", patient()).outcome, Outcome::noText);
}

void tst_TextExtractor::aHelperThatDoesNotStartIsTriedLessAndLessOften_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::newRow("is not there") << QByteArray();
    QTest::newRow("ends at once") << QByteArray("ends-at-once");
    QTest::newRow("says something else") << QByteArray("wrong-hello");
}

void tst_TextExtractor::aHelperThatDoesNotStartIsTriedLessAndLessOften()
{
    QFETCH(QByteArray, fault);
    const Misbehaving helper(fault.isEmpty() ? QByteArray("unused") : fault);
    auto settings = helper.settings();
    if (fault.isEmpty())
        settings.helperPath = "/nowhere/at/all";
    HelperProcess::Clock::time_point now{};
    settings.now = [&now] { return now; };
    TextExtractor extractor(settings);
    const auto outcome = [&] { return extractFrom(extractor, "text", "a.txt", patient()).outcome; };

    expectWarning("the helper does not start");
    QTest::failOnWarning(QRegularExpression(QStringLiteral("does not start")));  // said once

    for (int i = 0; i < 5; ++i, now += 10min)
        QCOMPARE(outcome(), Outcome::unavailable);
    if (fault.isEmpty())
        return;

    helper.mend();
    now -= 10min;
    QCOMPARE(outcome(), Outcome::unavailable);
    now += 10min;
    QCOMPARE(outcome(), Outcome::text);
}

QTEST_GUILESS_MAIN(tst_TextExtractor)
#include "tst_TextExtractor.moc"
