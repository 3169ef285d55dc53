// SPDX-License-Identifier: GPL-3.0-or-later
#include "Documents.h"

#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <cstdint>
#include <cstring>
#include <random>

namespace vellumhound::extract::tests {
namespace {

void appendNumber(std::string &bytes, std::uint64_t number, int size)
{
    for (int i = 0; i < size; ++i)
        bytes += i < 8 ? char(number >> (8 * i)) : '\0';
}

/// Zeros, deflated with the fixed codes: each of the 13-bit steps below stands for 258 of them.
std::string deflatedZeros(std::uint64_t count)
{
    std::string bytes;
    std::uint32_t bits = 0;
    int filled = 0;
    const auto put = [&](unsigned value, int size) {
        bits |= value << filled;
        for (filled += size; filled >= 8; filled -= 8, bits >>= 8)
            bytes += char(bits);
    };
    put(1, 1);           // the last block
    put(1, 2);           // fixed codes
    put(0b00001100, 8);  // literal 0, the code's first bit lowest
    for (std::uint64_t i = 0; i < count / 258; ++i)
        put(0b00000'10100011, 13);  // length 258, distance 1
    put(0, 7);                      // the end
    put(0, 7);
    return bytes;
}

}  // namespace

std::string zip(const std::vector<Part> &parts)
{
    std::size_t size = 64 * 1024;
    for (const auto &part : parts)
        size += part.second.size() + part.second.size() / 1000 + 2 * part.first.size() + 1024;
    std::string bytes(size, '\0');
    std::size_t used = 0;
    auto *writer = archive_write_new();
    archive_write_set_format_zip(writer);
    archive_write_open_memory(writer, bytes.data(), bytes.size(), &used);
    for (const auto &[name, content] : parts) {
        auto *entry = archive_entry_new();
        archive_entry_set_pathname(entry, name.c_str());
        archive_entry_set_size(entry, la_int64_t(content.size()));
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_perm(entry, 0600);
        archive_write_header(writer, entry);
        archive_write_data(writer, content.data(), content.size());
        archive_entry_free(entry);
    }
    archive_write_free(writer);
    bytes.resize(used);
    return bytes;
}

std::string zipBomb(const std::string &partName, unsigned gigabytes)
{
    const auto data = deflatedZeros(std::uint64_t(gigabytes) * 1'000'000'000);
    const auto fields = [&](std::string &bytes) {
        appendNumber(bytes, 20, 2);  // version
        appendNumber(bytes, 0, 2);
        appendNumber(bytes, 8, 2);  // deflate
        appendNumber(bytes, 0, 4);
        appendNumber(bytes, 0x12345678, 4);
        appendNumber(bytes, data.size(), 4);
        appendNumber(bytes, 0xFFFFFFFE, 4);
        appendNumber(bytes, partName.size(), 2);
        appendNumber(bytes, 0, 2);
    };
    std::string bytes = "PK\x03\x04";
    fields(bytes);
    bytes += partName + data;
    const auto directory = bytes.size();
    bytes += "PK\x01\x02";
    appendNumber(bytes, 20, 2);
    fields(bytes);
    appendNumber(bytes, 0, 14);
    bytes += partName;
    const auto directorySize = bytes.size() - directory;
    bytes += "PK\x05\x06";
    appendNumber(bytes, 0, 4);
    appendNumber(bytes, 1, 2);
    appendNumber(bytes, 1, 2);
    appendNumber(bytes, directorySize, 4);
    appendNumber(bytes, directory, 4);
    appendNumber(bytes, 0, 2);
    return bytes;
}

std::string docx(const std::string &body)
{
    return zip({{"[Content_Types].xml", "<Types/>"},
        {"word/document.xml",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><w:document xmlns:w=\"urn:w\" "
            "xmlns:mc=\"urn:mc\"><w:body>" +
                body + "</w:body></w:document>"}});
}

std::string xlsx(const std::vector<std::string> &texts)
{
    std::string shared = "<sst xmlns=\"urn:x\">";
    for (const auto &text : texts)
        shared += "<si><t>" + text + "</t></si>";
    return zip({{"xl/workbook.xml", "<workbook/>"}, {"xl/sharedStrings.xml", shared + "</sst>"},
        {"xl/worksheets/sheet1.xml",
            "<worksheet xmlns=\"urn:x\"><sheetData><row><c t=\"s\"><f>SUM(hidden)</f><v>0</v></c>"
            "<c t=\"inlineStr\"><is><t>inline text</t></is></c></row></sheetData></worksheet>"}});
}

std::string pptx(const std::vector<std::string> &slides)
{
    std::vector<Part> parts;
    for (std::size_t i = slides.size(); i-- > 0;) {
        const auto number = std::to_string(i + 1);
        const auto slide = [](const std::string &text) {
            return "<p:sld xmlns:p=\"urn:p\" xmlns:a=\"urn:a\"><a:p><a:r><a:t>" + text +
                   "</a:t></a:r></a:p></p:sld>";
        };
        parts.emplace_back("ppt/slides/slide" + number + ".xml", slide(slides[i]));
        parts.emplace_back(
            "ppt/notesSlides/notesSlide" + number + ".xml", slide("note on " + slides[i]));
    }
    return zip(parts);
}

std::string odt(const std::string &body)
{
    return zip({{"mimetype", "application/vnd.oasis.opendocument.text"},
        {"content.xml", "<?xml version=\"1.0\"?><office:document-content xmlns:office=\"urn:o\" "
                        "xmlns:text=\"urn:t\" xmlns:table=\"urn:b\"><office:scripts>hidden script"
                        "</office:scripts><office:body><office:text>" +
                            body + "</office:text></office:body></office:document-content>"},
        {"meta.xml",
            "<office:document-meta xmlns:office=\"urn:o\" xmlns:dc=\"urn:dc\"><office:meta>"
            "<dc:title>The title</dc:title><dc:date>hidden date</dc:date></office:meta>"
            "</office:document-meta>"},
        {"META-INF/manifest.xml", "<manifest:manifest xmlns:manifest=\"urn:m\"/>"}});
}

std::string epub(const std::vector<std::string> &chapters)
{
    std::vector<Part> parts{{"mimetype", "application/epub+zip"}};
    std::string items, spine;
    for (std::size_t i = chapters.size(); i-- > 0;) {
        // Named so that neither their order in the archive nor the alphabet is that of the book.
        const auto name = std::string(1, char('z' - int(i))) + ".xhtml";
        parts.emplace_back("OEBPS/" + name,
            "<html xmlns=\"http://www.w3.org/1999/xhtml\"><head><title>Chapter</title><style>p{}"
            "</style></head><body><p>" +
                chapters[i] + "</p></body></html>");
        items += "<item id=\"c" + std::to_string(i) + "\" href=\"" + name + "\"/>";
        spine.insert(0, "<itemref idref=\"c" + std::to_string(i) + "\"/>");
    }
    parts.emplace_back(
        "OEBPS/book.opf", "<package><metadata xmlns:dc=\"urn:dc\"><dc:title>The book</dc:title>"
                          "<dc:identifier>hidden id</dc:identifier></metadata><manifest>" +
                              items + "</manifest><spine>" + spine + "</spine></package>");
    return zip(parts);
}

std::string pdfOfObjects(const std::vector<std::string> &objects, const std::string &trailer)
{
    std::string bytes = "%PDF-1.4\n";
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        places.push_back(bytes.size());
        bytes += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const auto table = bytes.size();
    bytes += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (const auto place : places) {
        const auto digits = std::to_string(place);
        bytes += std::string(10 - digits.size(), '0') + digits + " 00000 n \n";
    }
    bytes += "trailer\n<< /Size " + std::to_string(objects.size() + 1) + " /Root 1 0 R " + trailer +
             " >>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n";
    return bytes;
}

std::string pdf(const std::vector<std::string> &pages)
{
    std::vector<std::string> objects{"<< /Type /Catalog /Pages 2 0 R >>", {},
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>"};
    std::string kids;
    for (const auto &page : pages) {
        std::string content = "BT /F1 9 Tf 10 820 Td 11 TL ";
        for (std::size_t i = 0; i < page.size(); i += 120)
            content += "(" + page.substr(i, 120) + ") Tj T* ";
        content += "ET";
        objects.push_back("<< /Length " + std::to_string(content.size()) + " >>\nstream\n" +
                          content + "\nendstream");
        objects.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents " +
                          std::to_string(objects.size()) +
                          " 0 R /Resources << /Font << /F1 3 0 R >> >> >>");
        kids += std::to_string(objects.size()) + " 0 R ";
    }
    objects[1] =
        "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages.size()) + " >>";
    return pdfOfObjects(objects);
}

std::string rtf(const std::string &body)
{
    return "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0\\fcharset0 Hidden Font;}"
           "{\\f1\\fcharset204 Hidden Cyrillic;}}{\\*\\generator Hidden Generator;}" +
           body + "}";
}

std::string mail(const std::string &subject, const std::string &body)
{
    return "From: Ann Sender <ann@example.org>\r\nTo: Bob Reader <bob@example.org>\r\nSubject: " +
           subject + "\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n" +
           body + "\r\n";
}

std::string repeated(std::string_view text, std::size_t times)
{
    std::string all;
    all.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

std::string prose(std::size_t words)
{
    static constexpr std::array<std::string_view, 16> vocabulary{"the", "meadow", "lantern", "of",
        "a", "winter", "harbour", "and", "quiet", "letters", "to", "never", "returned", "old",
        "maps", "said"};
    std::mt19937 random{unsigned(words)};
    std::string text;
    for (std::size_t i = 0; i < words; ++i) {
        text += vocabulary[random() % vocabulary.size()];
        text += random() % 12 == 0 ? ". " : " ";
    }
    return text;
}

}  // namespace vellumhound::extract::tests
