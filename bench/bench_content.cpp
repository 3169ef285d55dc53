// SPDX-License-Identifier: GPL-3.0-or-later
// What the text index costs and gives: bench_content [folder or -] [packing level]. With a folder
// its plain files are taken (up to 200 MB), else 100 MB of invented texts in 8,200 files.
#include "content/Postings.h"
#include "content/SegmentBuilder.h"
#include "content/StoredText.h"
#include "content/TextFolding.h"
#include "content/TextIndex.h"
#include "content/TextSearch.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

using namespace vellumhound;
using namespace vellumhound::content;

namespace {

struct File {
    std::string path;
    std::string text;
};

double now()
{
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(time).count();
}

/// Texts whose words follow Zipf's law, half of them prose of two languages, half like source code.
class Invented {
public:
    Invented()
    {
        constexpr std::size_t words = 60'000;
        double sum = 0;
        for (std::size_t i = 0; i < words; ++i) {
            _words.push_back(word());
            sum += 1.0 / (double(i) + 2.7);
            _cumulated.push_back(sum);
        }
    }

    std::vector<File> files(std::size_t count, std::size_t bytes)
    {
        std::vector<File> made;
        for (std::size_t i = 0; i < count; ++i) {
            // Most are small, some are large; the mean is what is wanted.
            const auto size = std::size_t(-std::log(unit() + 1e-9) * double(bytes) / double(count));
            const auto path = "/home/u/documents/" + _words[pick(400)] + '/' + std::to_string(i);
            made.push_back(
                {path + (i % 2 == 0 ? ".txt" : ".cpp"), i % 2 == 0 ? prose(size) : source(size)});
        }
        return made;
    }

private:
    std::size_t pick(std::size_t count) { return std::size_t(_random()) % count; }
    double unit() { return double(_random()) / 4294967296.0; }

    std::string word()
    {
        static constexpr const char *onsets[] = {"b", "br", "c", "ch", "d", "dr", "f", "fl", "g",
            "gr", "h", "j", "k", "l", "m", "n", "p", "pr", "qu", "r", "s", "sch", "sh", "st", "str",
            "t", "th", "tr", "v", "w", "z", ""};
        static constexpr const char *vowels[] = {
            "a", "e", "i", "o", "u", "ai", "ea", "ie", "ou", "ä", "ü", "é", "e", "a", "i", "o"};
        static constexpr const char *codas[] = {"", "", "n", "r", "s", "t", "l", "nd", "ng", "rt",
            "st", "ck", "m", "tion", "ing", "er", "en", "ly"};
        std::string made;
        for (std::size_t i = 0, end = 1 + pick(3); i < end; ++i) {
            made += onsets[pick(std::size(onsets))];
            made += vowels[pick(std::size(vowels))];
            made += codas[pick(std::size(codas))];
        }
        return made;
    }
    const std::string &drawn()
    {
        const auto at =
            std::lower_bound(_cumulated.begin(), _cumulated.end(), unit() * _cumulated.back());
        return _words[std::min(_words.size() - 1, std::size_t(at - _cumulated.begin()))];
    }
    std::string prose(std::size_t size)
    {
        std::string text;
        while (text.size() < size) {
            auto sentence = drawn();
            sentence[0] = static_cast<char>(sentence[0] & ~0x20);
            for (std::size_t i = 0, end = 4 + pick(18); i < end; ++i)
                sentence += (pick(14) == 0 ? ", " : text.size() % 11 == 0 ? "\n" : " ") + drawn();
            text += sentence + (pick(6) == 0 ? ".\n\n" : ". ");
        }
        return text;
    }
    std::string source(std::size_t size)
    {
        std::string text;
        while (text.size() < size) {
            const std::string indent(4 * pick(4), ' ');
            switch (pick(6)) {
            case 0:
                text += indent + "if (" + drawn() + "." + drawn() + "() != " + drawn() + ") {\n";
                break;
            case 1:
                text += indent + "// " + drawn() + ' ' + drawn() + ' ' + drawn() + '\n';
                break;
            case 2:
                text += indent + "return " + drawn() + "(" + drawn() + ", " + drawn() + ");\n";
                break;
            case 3:
                text +=
                    indent + "const auto " + drawn() + " = " + std::to_string(pick(5000)) + ";\n";
                break;
            case 4:
                text += indent + "}\n";
                break;
            default:
                text += indent + drawn() + "->" + drawn() + "(\"" + drawn() + "\");\n";
            }
        }
        return text;
    }

    std::mt19937 _random{1};
    std::vector<std::string> _words;
    std::vector<double> _cumulated;
};

std::vector<File> filesBelow(const std::string &folder)
{
    constexpr std::size_t mostBytes = 200'000'000;
    std::vector<File> files;
    std::size_t bytes = 0;
    std::error_code error;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder, error)) {
        if (!entry.is_regular_file(error) || entry.is_symlink(error) || bytes > mostBytes)
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        if (text.find('\0') != std::string::npos || text.size() > 16'000'000 ||
            entry.path().extension() == ".gz")
            continue;
        bytes += text.size();
        files.push_back({entry.path().string(), std::move(text)});
    }
    return files;
}

double megabytes(std::uint64_t bytes)
{
    return double(bytes) / 1e6;
}

std::uint64_t residentBytes()
{
    std::ifstream statm("/proc/self/statm");
    std::uint64_t pages = 0;
    statm >> pages >> pages;
    return pages * 4096;
}

/// Each stage alone, on one core.
void timeStages(const std::vector<File> &files, std::uint64_t bytes, int level)
{
    auto start = now();
    std::vector<std::string> folded;
    for (const auto &file : files)
        folded.push_back(foldText(file.text, std::size_t(16) << 20).text);
    const auto folding = now() - start;
    start = now();
    TrigramCollector collector;
    std::vector<Trigram> trigrams;
    std::size_t pairs = 0;
    for (const auto &text : folded) {
        trigrams.clear();
        collector.collect(text, trigrams);
        pairs += trigrams.size();
    }
    const auto collecting = now() - start;
    start = now();
    TextPacker packer(level);
    std::uint64_t packed = 0;
    std::vector<std::string> stored;
    for (const auto &text : folded) {
        stored.emplace_back(packer.pack(text));
        packed += stored.back().size();
    }
    const auto packing = now() - start;
    start = now();
    TextUnpacker unpacker;
    const TextPattern nowhere("no such needle \x01\x02");
    const std::atomic<bool> isCancelled = false;
    std::uint64_t unpacked = 0;
    for (const auto &text : stored)
        unpacker.find(nowhere, text, isCancelled, unpacked);
    const auto unpacking = now() - start;
    start = now();
    std::size_t hits = 0;
    for (const auto &text : folded)
        hits += nowhere.isIn(text) ? 1 : 0;
    const auto scanning = now() - start;
    std::printf("unpack and scan %.0f MB/s, scan alone %.0f MB/s (%zu hits)\n",
        megabytes(unpacked) / unpacking, megabytes(unpacked) / scanning, hits);
    std::printf(
        "stages: fold %.0f MB/s, trigrams %.0f MB/s (%.1f M pairs), pack %.0f MB/s (to %.1f %%)\n",
        megabytes(bytes) / folding, megabytes(bytes) / collecting, double(pairs) / 1e6,
        megabytes(bytes) / packing, 100.0 * double(packed) / double(bytes));
}

void printFigures(const char *when, const TextFigures &figures, std::uint64_t bytes)
{
    const auto share = [&](std::uint64_t part) { return 100.0 * double(part) / double(bytes); };
    std::printf("%s: %zu segments, %.1f MB; lists and dictionaries %.1f MB = %.1f %% of the text, "
                "all (with texts, paths) %.1f %%\n",
        when, figures.segments, megabytes(figures.diskBytes), megabytes(figures.postingBytes),
        share(figures.postingBytes), share(figures.diskBytes));
}

template <class Work> double medianOf(Work work)
{
    std::vector<double> times;
    for (int i = 0; i < 9; ++i) {
        const auto start = now();
        work();
        times.push_back(now() - start);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void timeSearches(const PublishedText &published, const std::vector<File> &files)
{
    std::vector<std::string> needles{"th", "zq", "the", "tion", "license", "configuration",
        "return value", "thread_local", "xylophonist", "schein"};
    std::mt19937 random(3);
    for (int i = 0; i < 8; ++i) {
        const auto &text = files[random() % files.size()].text;
        if (text.size() > 100)
            needles.push_back(text.substr(random() % (text.size() - 60), 5 + random() % 12));
    }
    std::printf("%-24s %10s %9s %11s %9s %11s %9s\n", "needle", "candidates", "lookup µs",
        "first 100", "ms", "all", "ms");
    const std::atomic<bool> isCancelled = false;
    for (const auto &needle : needles) {
        const auto folded = foldNeedle(needle);
        std::size_t candidates = 0;
        std::size_t first = 0;
        std::size_t all = 0;
        const auto lookup = medianOf([&] {
            candidates = 0;
            for (const auto &state : published.current()->segments)
                candidates += state.segment->candidates(folded).size();
        });
        const auto firstTime = medianOf([&] {
            TextSearch search(published, {needle, {}, {}});
            first = search.next(100, isCancelled, UINT64_MAX / 2).hits.size();
        });
        const auto allTime = medianOf([&] {
            TextSearch search(published, {needle, {}, {}});
            all = search.next(SIZE_MAX, isCancelled, UINT64_MAX / 2).hits.size();
        });
        auto shown = folded;
        std::replace(shown.begin(), shown.end(), '\n', ' ');
        std::printf("%-24s %10zu %9.0f %11zu %9.2f %11zu %9.2f\n", shown.c_str(), candidates,
            lookup * 1e6, first, firstTime * 1e3, all, allTime * 1e3);
    }
}

}  // namespace

int main(int argc, char *argv[])
{
    const auto files = argc > 1 && std::string(argv[1]) != "-"
                           ? filesBelow(argv[1])
                           : Invented().files(8200, std::size_t(100) * 1'000'000);
    std::uint64_t bytes = 0;
    for (const auto &file : files)
        bytes += file.text.size();
    std::printf("%zu files, %.1f MB\n", files.size(), megabytes(bytes));
    if (files.empty())
        return 1;
    const int level = argc > 2 ? std::atoi(argv[2]) : TextIndexOptions{}.packingLevel;
    timeStages(files, bytes, level);

    std::string folder = std::filesystem::temp_directory_path().string() + "/bench-content-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr)
        return 1;
    const auto before = residentBytes();
    {
        PublishedText published;
        TextIndex index(published, {.folder = folder + "/text", .packingLevel = level});
        if (!index.open())
            return 1;
        auto start = now();
        std::int64_t time = 0;
        for (const auto &file : files)
            index.add({file.path, {++time, std::int64_t(file.text.size())}, {}}, file.text);
        index.flush();
        const auto built = now() - start;
        printFigures("built ", index.figures(), bytes);
        start = now();
        while (index.tidy()) {
        }
        const auto merged = now() - start;
        printFigures("merged", index.figures(), bytes);
        std::printf("fold, pack, lists, write, fsync: %.2f s = %.0f MB/s; merging %.2f s more, "
                    "together %.0f MB/s\n",
            built, megabytes(bytes) / built, merged, megabytes(bytes) / (built + merged));
        std::printf(
            "memory: %.1f MB more than before\n", megabytes(residentBytes()) - megabytes(before));
        timeSearches(published, files);
    }
    PublishedText published;
    TextIndex index(published, {.folder = folder + "/text"});
    const auto start = now();
    const bool isOpen = bool(index.open());
    std::printf("opened again: %s, %.1f ms\n", isOpen ? "yes" : "no", (now() - start) * 1e3);
    index.clear();
    std::filesystem::remove_all(folder);
}
