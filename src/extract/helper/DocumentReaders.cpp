// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/DocumentReaders.h"

#include "extract/helper/Archive.h"
#include "extract/helper/HtmlText.h"
#include "extract/helper/XmlText.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace vellumhound::extract::helper {
namespace {

using namespace std::string_view_literals;
using wire::Status;

constexpr std::size_t maxChapterBytes = 16u << 20;

/// The text of one part, held back until its turn comes.
struct PartText {
    std::string text;
    bool isCut = false;
};

/// Lets `write` fill a sink of its own that takes no more than there is room for.
template <class Write> PartText collected(std::uint64_t roomBytes, Write write)
{
    PartText part;
    TextSink sink({roomBytes, std::chrono::hours(1)}, [&](std::string_view piece) {
        part.text += piece;
        return true;
    });
    write(sink);
    sink.finish();
    part.isCut = sink.isCut();
    return part;
}

/// Parts in the order in which they are to be read, whatever the order in the archive.
template <class Key> class Parts {
public:
    explicit Parts(TextSink &sink)
        : _sink(sink)
    {
    }
    template <class Write> void add(const Key &key, Write write)
    {
        auto part = collected(_sink.roomBytes() - std::min(_bytes, _sink.roomBytes()), write);
        _bytes += part.text.size();
        if (part.isCut)
            _sink.markCut();
        _texts[key] += part.text;
    }
    void giveAll()
    {
        for (const auto &[key, text] : _texts)
            give(text);
    }
    void give(const std::string &text)
    {
        _sink.append(text);
        _sink.separate('\n');
    }
    std::map<Key, std::string> &texts() { return _texts; }

private:
    TextSink &_sink;
    std::map<Key, std::string> _texts;
    std::uint64_t _bytes = 0;
};

void readXmlPart(Archive &archive, XmlTextReader::RoleOf roleOf, TextSink &main, TextSink &sink)
{
    XmlTextReader reader(roleOf, false, sink);
    archive.read([&](std::string_view bytes) { return !main.isFullNow() && reader.feed(bytes); });
    reader.finish();
}

Status statusOf(const Archive &archive, TextSink &sink)
{
    if (!archive.isArchive())
        return Status::refused;
    if (archive.isCut())
        sink.markCut();
    return sink.hasText() ? Status::text : Status::noText;
}

XmlRole roleInOpenDocument(std::string_view name)
{
    static const std::unordered_map<std::string_view, XmlRole> roles{{"body", XmlRole::text},
        {"header", XmlRole::textBlock}, {"footer", XmlRole::textBlock},
        {"header-left", XmlRole::textBlock}, {"footer-left", XmlRole::textBlock},
        {"header-first", XmlRole::textBlock}, {"footer-first", XmlRole::textBlock},
        {"title", XmlRole::textBlock}, {"subject", XmlRole::textBlock},
        {"keyword", XmlRole::textBlock}, {"description", XmlRole::textBlock},
        {"initial-creator", XmlRole::textBlock}, {"p", XmlRole::paragraph},
        {"h", XmlRole::paragraph}, {"table-cell", XmlRole::cell}, {"s", XmlRole::blank},
        {"tab", XmlRole::blank}, {"line-break", XmlRole::lineBreak},
        {"tracked-changes", XmlRole::skipped}, {"script", XmlRole::skipped},
        {"binary-data", XmlRole::skipped}};
    const auto found = roles.find(name);
    return found == roles.end() ? XmlRole::nothing : found->second;
}

XmlRole roleInOffice(std::string_view name)
{
    static const std::unordered_map<std::string_view, XmlRole> roles{{"t", XmlRole::text},
        {"p", XmlRole::paragraph}, {"si", XmlRole::paragraph}, {"is", XmlRole::paragraph},
        {"br", XmlRole::lineBreak}, {"cr", XmlRole::lineBreak}, {"tab", XmlRole::blank},
        {"comment", XmlRole::paragraph}, {"Fallback", XmlRole::skipped}, {"rPh", XmlRole::skipped},
        {"moveFrom", XmlRole::skipped}, {"title", XmlRole::textBlock},
        {"subject", XmlRole::textBlock}, {"creator", XmlRole::textBlock},
        {"keywords", XmlRole::textBlock}, {"description", XmlRole::textBlock},
        {"category", XmlRole::textBlock}};
    const auto found = roles.find(name);
    return found == roles.end() ? XmlRole::nothing : found->second;
}

XmlRole roleInSvg(std::string_view name)
{
    if (name == "text" || name == "title" || name == "desc" || name == "flowPara")
        return XmlRole::textBlock;
    if (name == "tspan")
        return XmlRole::cell;
    return name == "style" || name == "script" ? XmlRole::skipped : XmlRole::nothing;
}

XmlRole roleInFictionBook(std::string_view name)
{
    static constexpr std::array skipped{"binary"sv, "stylesheet"sv, "document-info"sv, "date"sv};
    static constexpr std::array inner{
        "emphasis"sv, "strong"sv, "a"sv, "style"sv, "sub"sv, "sup"sv, "strikethrough"sv, "code"sv};
    if (std::find(skipped.begin(), skipped.end(), name) != skipped.end())
        return XmlRole::skipped;
    if (name == "FictionBook")
        return XmlRole::text;
    return std::find(inner.begin(), inner.end(), name) != inner.end() ? XmlRole::nothing
                                                                      : XmlRole::paragraph;
}

/// Where a part of an office document belongs: group, number in its name, place behind that number.
using OfficeKey = std::tuple<int, int, int>;

std::optional<int> numberedPart(std::string_view name, std::string_view beginning)
{
    if (!name.starts_with(beginning) || !name.ends_with(".xml"))
        return std::nullopt;
    name.remove_prefix(beginning.size());
    if (name.find('/') != std::string_view::npos)
        return std::nullopt;
    return std::atoi(std::string(name.substr(0, 9)).c_str());
}

std::optional<OfficeKey> keyOfOfficePart(std::string_view name)
{
    struct Kind {
        std::string_view beginning;
        int group;
        int place;
    };
    static constexpr std::array kinds{Kind{"docProps/core", 0, 0}, Kind{"word/document", 1, 0},
        Kind{"word/header", 2, 0}, Kind{"word/footer", 2, 1}, Kind{"word/footnotes", 3, 0},
        Kind{"word/endnotes", 3, 1}, Kind{"word/comments", 3, 2}, Kind{"xl/sharedStrings", 1, 0},
        Kind{"xl/worksheets/sheet", 2, 0}, Kind{"xl/comments", 2, 1},
        Kind{"xl/drawings/drawing", 2, 2}, Kind{"ppt/slides/slide", 1, 0},
        Kind{"ppt/notesSlides/notesSlide", 1, 1}};
    for (const auto &kind : kinds) {
        if (const auto number = numberedPart(name, kind.beginning))
            return OfficeKey{kind.group, *number, kind.place};
    }
    return std::nullopt;
}

/// A document with a password is wrapped in a compound file that has this stream.
Status statusOfNoArchive(Input &input)
{
    static constexpr auto compoundFile = "\xD0\xCF\x11\xE0"sv;
    static constexpr auto stream = "E\0n\0c\0r\0y\0p\0t\0e\0d\0P\0a\0c\0k\0a\0g\0e\0"sv;
    const auto bytes = input.bytes();
    const bool isWrapped =
        bytes.starts_with(compoundFile) && bytes.find(stream) != std::string_view::npos;
    return isWrapped ? Status::encrypted : Status::refused;
}

/// True if the XML has an element of that name.
bool hasElement(std::string_view xml, std::string_view wanted)
{
    bool isThere = false;
    XmlParser parser(
        {[&](std::string_view name, const XmlAttributes &) { isThere = isThere || name == wanted; },
            [](std::string_view) {}, [](std::string_view) {}});
    parser.feed(xml);
    parser.finish();
    return isThere;
}

}  // namespace

Status readOpenDocument(Input &input, TextSink &sink)
{
    Archive archive(input);
    Parts<int> parts(sink);
    while (!sink.isFullNow() && archive.next()) {
        const auto &name = archive.name();
        if (name == "META-INF/manifest.xml" &&
            hasElement(archive.readWhole(maxChapterBytes), "encryption-data"))
            return Status::encrypted;
        static const std::map<std::string_view, int> places{
            {"meta.xml", 0}, {"content.xml", 1}, {"styles.xml", 2}};
        const auto place = places.find(name);
        if (place == places.end())
            continue;
        if (archive.isEncrypted())
            return Status::encrypted;
        parts.add(place->second,
            [&](TextSink &part) { readXmlPart(archive, &roleInOpenDocument, sink, part); });
    }
    parts.giveAll();
    return statusOf(archive, sink);
}

Status readOfficeOpenXml(Input &input, TextSink &sink)
{
    Archive archive(input);
    Parts<OfficeKey> parts(sink);
    while (!sink.isFullNow() && archive.next()) {
        const auto key = keyOfOfficePart(archive.name());
        if (!key)
            continue;
        if (archive.isEncrypted())
            return Status::encrypted;
        parts.add(*key, [&](TextSink &part) { readXmlPart(archive, &roleInOffice, sink, part); });
    }
    parts.giveAll();
    return archive.isArchive() ? statusOf(archive, sink) : statusOfNoArchive(input);
}

namespace {

/// What a book says of itself.
struct BookPlan {
    std::vector<std::string> chapters;  // names of parts, in the order of the book
    std::string about;                  // title, author, description
};

std::string withoutEscapes(std::string_view href)
{
    std::string name;
    for (std::size_t i = 0; i < href.size() && href[i] != '#'; ++i) {
        if (href[i] == '%' && i + 2 < href.size()) {
            const std::string digits(href.substr(i + 1, 2));
            name += char(std::strtol(digits.c_str(), nullptr, 16));
            i += 2;
        } else {
            name += href[i];
        }
    }
    return name;
}

BookPlan parsedPlan(const std::string &name, std::string_view xml, std::uint64_t roomBytes)
{
    static constexpr std::array told{"title"sv, "creator"sv, "description"sv, "subject"sv};
    const auto folder = name.substr(0, name.rfind('/') + 1);
    BookPlan plan;
    std::unordered_map<std::string, std::string> hrefs;
    bool isTold = false;
    auto about = collected(roomBytes, [&](TextSink &sink) {
        XmlParser parser(
            {[&](std::string_view element, const XmlAttributes &attributes) {
                 isTold = std::find(told.begin(), told.end(), element) != told.end();
                 if (element == "item")
                     hrefs.emplace(
                         attributes.value("id"), folder + withoutEscapes(attributes.value("href")));
                 if (element == "itemref")
                     plan.chapters.push_back(hrefs[std::string(attributes.value("idref"))]);
             },
                [&](std::string_view) {
                    isTold = false;
                    sink.separate('\n');
                },
                [&](std::string_view text) {
                    if (isTold)
                        sink.appendCollapsed(text);
                }});
        parser.feed(xml);
        parser.finish();
    });
    plan.about = std::move(about.text);
    return plan;
}

bool isChapterName(std::string_view name)
{
    return name.ends_with(".xhtml") || name.ends_with(".html") || name.ends_with(".htm");
}

/// Only fonts are obfuscated in books that anybody can read.
bool hasLockedChapters(std::string_view xml)
{
    bool isLocked = false;
    XmlParser parser({[&](std::string_view name, const XmlAttributes &attributes) {
                          isLocked = isLocked || (name == "CipherReference" &&
                                                     isChapterName(attributes.value("URI")));
                      },
        [](std::string_view) {}, [](std::string_view) {}});
    parser.feed(xml);
    parser.finish();
    return isLocked;
}

}  // namespace

Status readEpub(Input &input, TextSink &sink)
{
    Archive archive(input);
    Parts<std::string> parts(sink);
    BookPlan plan;
    while (!sink.isFullNow() && archive.next()) {
        const auto name = archive.name();
        if (name == "META-INF/encryption.xml") {
            if (hasLockedChapters(archive.readWhole(maxChapterBytes)))
                return Status::encrypted;
        } else if (name.ends_with(".opf")) {
            plan = parsedPlan(name, archive.readWhole(maxChapterBytes), sink.roomBytes());
        } else if (isChapterName(name)) {
            if (archive.isEncrypted())
                return Status::encrypted;
            parts.add(name,
                [&](TextSink &part) { readHtml(archive.readWhole(maxChapterBytes), {}, part); });
        }
    }
    parts.give(plan.about);
    for (const auto &chapter : plan.chapters) {
        if (const auto node = parts.texts().extract(chapter))
            parts.give(node.mapped());
    }
    parts.giveAll();
    return statusOf(archive, sink);
}

Status readXml(Input &input, TextSink &sink)
{
    const auto bytes = input.bytes();
    const auto head = bytes.substr(0, std::size_t(16) * 1024);
    const auto has = [&](std::string_view text) { return head.find(text) != head.npos; };
    const auto roleOf = has("<FictionBook") ? &roleInFictionBook
                        : has(":document")  ? &roleInOpenDocument
                                            : &roleInSvg;
    constexpr std::size_t stepBytes = std::size_t(64) * 1024;
    XmlTextReader reader(roleOf, false, sink);
    for (std::size_t i = 0; i < bytes.size(); i += stepBytes) {
        if (!reader.feed(bytes.substr(i, stepBytes)))
            break;
    }
    reader.finish();
    return sink.hasText() ? Status::text : Status::noText;
}

}  // namespace vellumhound::extract::helper
