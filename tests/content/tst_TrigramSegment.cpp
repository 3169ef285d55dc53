// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/SegmentBuilder.h"
#include "content/StoredText.h"
#include "content/TextFolding.h"
#include "content/TrigramSegment.h"
#include "index/TemporaryTree.h"
#include "RandomText.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <fstream>
#include <iterator>

using namespace vellumhound;
using namespace vellumhound::content;
using tests::RandomText;
using tests::TemporaryTree;

class tst_TrigramSegment final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listsOfAllDensitiesComeBackAsTheyWere();
    void twoListsAreIntersected();
    void theScanFindsWhatAnySearchFinds();
    void candidatesHoldEveryHitAndShortNeedlesNothingElse_data();
    void candidatesHoldEveryHitAndShortNeedlesNothingElse();
    void everyTextComesBackAsItWas();
    void aNeedleOverTheSeamOfTwoFramesIsFound();
    void pathsAreFoundByHalving();
    void anEmptySegmentIsOne();
    void aMissingForeignOrNewerFileIsRefused();
    void aFileCutAnywhereIsRefused();
    void aFileWithAnyDamagedByteOutsideOfTextsIsRefused();
    void aDamagedTextIsNoticedWhenItIsRead();
};

namespace {

using Segment = std::shared_ptr<const TrigramSegment>;

/// A segment of these texts, already folded; their paths are in the order of their numbers.
Segment segmentOf(const std::string &path, const std::vector<std::string> &texts)
{
    TextBuffer buffer;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto number = std::to_string(100'000 + i);
        buffer.append({{"/d/" + number, {std::int64_t(i), 1}, {}},
            std::make_shared<const std::string>(texts[i]), false});
    }
    if (!writeSegment(path, buffer, 1))
        return {};
    auto opened = TrigramSegment::open(path);
    return opened ? std::move(opened).value() : Segment{};
}

std::string contentsOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> someTexts(std::uint32_t seed, std::size_t count)
{
    RandomText random(seed);
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < count; ++i)
        texts.push_back(foldNeedle(random.text(1 + random.pick(60))));
    return texts;
}

bool isRefused(const std::string &path)
{
    const auto opened = TrigramSegment::open(path);
    return !opened && !opened.error().description.isEmpty();
}

}  // namespace

void tst_TrigramSegment::listsOfAllDensitiesComeBackAsTheyWere()
{
    RandomText random(1);
    for (const std::size_t outOf : {1, 2, 7, 9, 60, 1000, 40'000}) {
        constexpr DocumentId count = 50'001;
        std::vector<DocumentId> documents;
        for (DocumentId document = 0; document < count; ++document) {
            if (random.pick(outOf) == 0)
                documents.push_back(document);
        }
        std::string bytes;

        const bool isBitmap = appendPostings(bytes, documents, count);

        QCOMPARE(decodePostings({bytes, isBitmap}, count), documents);
        QVERIFY(bytes.size() <= bitmapBytes(count));
    }
}

void tst_TrigramSegment::twoListsAreIntersected()
{
    RandomText random(2);
    constexpr DocumentId count = 3000;
    for (const std::size_t outOf : {1, 3, 20, 400}) {
        std::vector<DocumentId> some;
        std::vector<DocumentId> others;
        for (DocumentId document = 0; document < count; ++document) {
            if (random.pick(5) == 0)
                some.push_back(document);
            if (random.pick(outOf) == 0)
                others.push_back(document);
        }
        std::vector<DocumentId> both;
        std::set_intersection(
            some.begin(), some.end(), others.begin(), others.end(), std::back_inserter(both));
        std::string bytes;
        const bool isBitmap = appendPostings(bytes, others, count);

        intersect(some, {bytes, isBitmap}, count);

        QCOMPARE(some, both);
    }
}

void tst_TrigramSegment::theScanFindsWhatAnySearchFinds()
{
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        RandomText random(seed);
        const auto text = foldNeedle(random.text(random.pick(80)));
        const auto other = foldNeedle(random.text(1 + random.pick(80)));
        for (int i = 0; i < 20; ++i) {
            auto needle = random.needleFrom(i % 2 == 0 ? text : other);
            if (needle.size() < 2)
                continue;

            QCOMPARE(TextPattern(needle).isIn(text), text.find(needle) != std::string::npos);
        }
    }
}

void tst_TrigramSegment::candidatesHoldEveryHitAndShortNeedlesNothingElse_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 0; seed < 20; ++seed)
        QTest::addRow("%u", seed) << seed;
}

void tst_TrigramSegment::candidatesHoldEveryHitAndShortNeedlesNothingElse()
{
    QFETCH(quint32, seed);
    const TemporaryTree tree;
    RandomText random(seed + 1000);
    const auto texts = someTexts(seed, 1 + random.pick(300));
    const auto segment = segmentOf(tree.path("one"), texts);
    QVERIFY(segment);

    for (int i = 0; i < 200; ++i) {
        auto needle = random.needleFrom(texts[random.pick(texts.size())]);
        if (i % 4 == 0)
            needle.resize(std::min<std::size_t>(needle.size(), 2 + random.pick(2)));
        const auto candidates = segment->candidates(needle);
        for (DocumentId document = 0; document < texts.size(); ++document) {
            const bool isHit = texts[document].find(needle) != std::string::npos;
            const bool isCandidate =
                std::binary_search(candidates.begin(), candidates.end(), document);
            QVERIFY(isCandidate || !isHit);
            QVERIFY(isHit || !isCandidate || !TrigramSegment::isExact(needle));
        }
    }
}

void tst_TrigramSegment::everyTextComesBackAsItWas()
{
    const TemporaryTree tree;
    auto texts = someTexts(5, 50);
    texts.push_back({});
    texts.push_back(std::string(700'000, 'a') + texts[0]);
    const auto segment = segmentOf(tree.path("one"), texts);
    QVERIFY(segment);
    TextUnpacker unpacker;

    for (DocumentId document = 0; document < texts.size(); ++document) {
        std::string packed;
        std::string text;
        QVERIFY(segment->readText(segment->record(document), packed));
        QVERIFY(unpacker.unpack(packed, text));
        QCOMPARE(text, texts[document]);
    }
}

void tst_TrigramSegment::aNeedleOverTheSeamOfTwoFramesIsFound()
{
    TextPacker packer(1);
    TextUnpacker unpacker;
    const std::atomic<bool> isCancelled = false;
    const TextPattern pattern("needle");
    constexpr std::size_t frame = std::size_t(1) << 18;
    for (std::size_t before = 2 * frame - 8; before <= 2 * frame + 2; ++before) {
        const auto text = std::string(before, 'n') + "needle" + std::string(frame, 'e');
        std::uint64_t bytesRead = 0;

        const auto verdict = unpacker.find(pattern, packer.pack(text), isCancelled, bytesRead);

        QCOMPARE(verdict, Verdict::isThere);
        QVERIFY(bytesRead < text.size());
    }
}

void tst_TrigramSegment::pathsAreFoundByHalving()
{
    const TemporaryTree tree;
    const auto segment = segmentOf(tree.path("one"), someTexts(7, 77));
    QVERIFY(segment);

    for (DocumentId document = 0; document < segment->documentCount(); ++document) {
        const std::string path(segment->path(document));
        QCOMPARE(segment->firstNotBefore(path), document);
        QCOMPARE(segment->firstNotBefore(path + "x"), document + 1);
    }
    QCOMPARE(segment->firstNotBefore(""), 0U);
    QCOMPARE(segment->firstNotBefore("/e"), segment->documentCount());
}

void tst_TrigramSegment::anEmptySegmentIsOne()
{
    const TemporaryTree tree;

    const auto segment = segmentOf(tree.path("one"), {});

    QVERIFY(segment);
    QCOMPARE(segment->documentCount(), 0U);
    QVERIFY(segment->candidates("abc").empty());
    QVERIFY(segment->candidates("ab").empty());
}

void tst_TrigramSegment::aMissingForeignOrNewerFileIsRefused()
{
    const TemporaryTree tree;
    QVERIFY(isRefused(tree.path("missing")));
    tree.file("empty");
    QVERIFY(isRefused(tree.path("empty")));
    tree.file("foreign", std::string(5000, 'x'));
    QVERIFY(isRefused(tree.path("foreign")));
    tree.folder("folder");
    QVERIFY(isRefused(tree.path("folder")));
    QVERIFY(segmentOf(tree.path("one"), someTexts(1, 5)));
    auto bytes = contentsOf(tree.path("one"));

    ++bytes[offsetof(SegmentHeader, version)];
    tree.file("newer", bytes);

    QVERIFY(isRefused(tree.path("newer")));
}

void tst_TrigramSegment::aFileCutAnywhereIsRefused()
{
    const TemporaryTree tree;
    QVERIFY(segmentOf(tree.path("one"), someTexts(1, 5)));
    const auto bytes = contentsOf(tree.path("one"));

    for (std::size_t size = 0; size < bytes.size(); size += 1 + bytes.size() / 97) {
        tree.file("cut", bytes.substr(0, size));
        QVERIFY(isRefused(tree.path("cut")));
    }
}

void tst_TrigramSegment::aFileWithAnyDamagedByteOutsideOfTextsIsRefused()
{
    const TemporaryTree tree;
    const auto segment = segmentOf(tree.path("one"), someTexts(1, 5));
    QVERIFY(segment);
    const auto bytes = contentsOf(tree.path("one"));
    const auto &header = segment->header();
    const auto damage = [&](std::size_t place) {
        auto damaged = bytes;
        damaged[place] = static_cast<char>(damaged[place] ^ 0x10);
        tree.file("damaged", damaged);
        return isRefused(tree.path("damaged"));
    };

    for (std::size_t place = 0; place < sizeof header; ++place)
        QVERIFY(damage(place));
    for (auto i = std::size_t(Section::documents); i < sectionCount; ++i) {
        const auto &section = header.sections[i];
        QVERIFY(section.size > 0);
        for (std::size_t k = 0; k < section.size; k += 1 + section.size / 31)
            QVERIFY(damage(section.offset + k));
    }
}

void tst_TrigramSegment::aDamagedTextIsNoticedWhenItIsRead()
{
    const TemporaryTree tree;
    const auto text = someTexts(3, 1).front();
    TextPacker packer(1);
    TextUnpacker unpacker;
    const std::atomic<bool> isCancelled = false;
    const std::string packed(packer.pack(text));

    for (std::size_t place = 0; place < packed.size(); ++place) {
        auto damaged = packed;
        damaged[place] = static_cast<char>(damaged[place] ^ 0x24);
        std::string unpacked;
        std::uint64_t bytesRead = 0;
        const bool isUnpacked = unpacker.unpack(damaged, unpacked);
        QVERIFY(!isUnpacked || unpacked == text);
        const auto verdict =
            unpacker.find(TextPattern("no such needle"), damaged, isCancelled, bytesRead);
        QVERIFY(verdict == Verdict::isUnreadable || isUnpacked);
    }
}

QTEST_APPLESS_MAIN(tst_TrigramSegment)
#include "tst_TrigramSegment.moc"
