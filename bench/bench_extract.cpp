// SPDX-License-Identifier: GPL-3.0-or-later
// bench_extract [MB]: how fast the text of generated documents is read through the helper, each
// with about so many megabytes of text (8 by default), and what a small file costs.
#include "Documents.h"
#include "extract/TextExtractor.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;

namespace {

template <class Work> double secondsOf(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double medianSeconds(
    TextExtractor &extractor, const OpenFile &file, const char *name, Extraction &last)
{
    std::vector<double> times;
    for (int i = 0; i < 5; ++i)
        times.push_back(secondsOf([&] { last = extractor.extract(file.descriptor(), name); }));
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void measure(TextExtractor &extractor, const char *name, const std::string &bytes)
{
    const OpenFile file(bytes);
    Extraction extraction;
    const auto seconds = medianSeconds(extractor, file, name, extraction);
    std::printf(
        "%-8s %8.1f ms %8.1f MB/s of file %8.1f MB/s of text  (%.1f MB, %.1f MB of text%s)\n", name,
        seconds * 1e3, double(bytes.size()) / 1e6 / seconds,
        double(extraction.text.size()) / 1e6 / seconds, double(bytes.size()) / 1e6,
        double(extraction.text.size()) / 1e6,
        extraction.outcome == Outcome::text ? (extraction.isCut ? ", cut" : "") : ", NO TEXT");
}

/// The text in paragraphs of some hundred characters, each between two texts.
std::string paragraphs(const std::string &text, const char *before, const char *after)
{
    std::string all;
    for (std::size_t i = 0; i < text.size(); i += 400)
        all += before + text.substr(i, 400) + after;
    return all;
}

std::vector<std::string> pieces(const std::string &text, std::size_t size)
{
    std::vector<std::string> all;
    for (std::size_t i = 0; i < text.size(); i += size)
        all.push_back(text.substr(i, size));
    return all;
}

}  // namespace

int main(int argc, char **argv)
{
    const auto megabytes = std::max(1, argc > 1 ? std::atoi(argv[1]) : 8);
    const auto text = prose(std::size_t(megabytes) * 1'000'000 / 6);
    TextExtractor::Settings settings;
    settings.helperPath = HELPER;
    TextExtractor extractor(settings);
    const OpenFile small("a few words");
    const auto start = secondsOf([&] { extractor.extract(small.descriptor(), "a.txt"); });
    const auto thousand = secondsOf([&] {
        for (int i = 0; i < 400; ++i)
            extractor.extract(small.descriptor(), "a.txt");
    });
    std::printf("first file, with the start of the helper %.1f ms, a small file %.0f us\n",
        start * 1e3, thousand / 400 * 1e6);
    measure(extractor, "a.txt", text);
    measure(extractor, "a.html", paragraphs(text, "<p class=\"body\">", "</p>\n"));
    measure(extractor, "a.docx", docx(paragraphs(text, "<w:p><w:r><w:t>", "</w:t></w:r></w:p>")));
    measure(
        extractor, "a.odt", odt(paragraphs(text, "<text:p text:style-name=\"P1\">", "</text:p>")));
    measure(extractor, "a.xlsx", xlsx(pieces(text, 20)));
    measure(extractor, "a.pptx", pptx(pieces(text, 2'000)));
    measure(extractor, "a.epub", epub(pieces(text, text.size() / 24)));
    measure(extractor, "a.rtf", rtf(paragraphs(text, "\\pard\\f0\\fs24 ", "\\par\n")));
    measure(extractor, "a.eml", mail("a long message", paragraphs(text, "", "\r\n")));
    measure(extractor, "a.pdf", pdf(pieces(text.substr(0, text.size() / 8), 3'000)));
    return 0;
}
