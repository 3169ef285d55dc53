// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/PdfText.h"

#include <climits>
#include <memory>
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>
#include <unicode/utf16.h>

namespace vellumhound::extract::helper {
namespace {

constexpr int maxPages = 5'000;

void appendUnits(const poppler::ustring &text, TextSink &sink)
{
    const auto size = std::ptrdiff_t(text.size());
    const auto *units = text.data();
    for (std::ptrdiff_t i = 0; i < size;) {
        UChar32 c = 0;
        U16_NEXT(units, i, size, c);
        sink.append(char32_t(c));
    }
}

}  // namespace

wire::Status readPdf(Input &input, TextSink &sink)
{
    const auto bytes = input.bytes();
    if (bytes.empty() || bytes.size() > INT_MAX)
        return wire::Status::refused;
    const std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(bytes.data(), int(bytes.size())));
    if (!document)
        return wire::Status::refused;
    if (document->is_locked())
        return wire::Status::encrypted;
    appendUnits(document->get_title(), sink);
    sink.separate('\n');
    const int pages = document->pages();
    for (int i = 0; i < pages && !sink.isFullNow(); ++i) {
        if (i == maxPages) {
            sink.markCut();
            break;
        }
        const std::unique_ptr<poppler::page> page(document->create_page(i));
        if (page)
            appendUnits(
                page->text(poppler::rectf(), poppler::page::non_raw_non_physical_layout), sink);
        sink.separate('\n');
    }
    return sink.hasText() ? wire::Status::text : wire::Status::noText;
}

void preparePdf()
{
    poppler::set_debug_error_function([](const std::string &, void *) {}, nullptr);
    // A document that is none: makes the library set up what it keeps for all.
    const std::unique_ptr<poppler::document> nothing(
        poppler::document::load_from_raw_data("%PDF-", 5));
}

}  // namespace vellumhound::extract::helper
