// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/HtmlText.h"

#include "extract/helper/Charset.h"

#include <algorithm>
#include <array>
#include <libxml/HTMLparser.h>

namespace vellumhound::extract::helper {
namespace {

using namespace std::string_view_literals;

constexpr int maxDepth = 512;
constexpr std::size_t maxHtmlBytes = 64u << 20;
constexpr std::size_t stepBytes = std::size_t(32) * 1024;

constexpr std::array skippedElements{"script"sv, "style"sv, "template"sv, "noscript"sv, "object"sv};
/// Elements that stay inside a line; all others begin and end one.
constexpr std::array inlineElements{"a"sv, "abbr"sv, "acronym"sv, "b"sv, "bdi"sv, "bdo"sv, "big"sv,
    "cite"sv, "code"sv, "data"sv, "del"sv, "dfn"sv, "em"sv, "font"sv, "i"sv, "ins"sv, "kbd"sv,
    "label"sv, "mark"sv, "nobr"sv, "q"sv, "rp"sv, "rt"sv, "ruby"sv, "s"sv, "samp"sv, "small"sv,
    "span"sv, "strike"sv, "strong"sv, "sub"sv, "sup"sv, "time"sv, "tt"sv, "u"sv, "var"sv, "wbr"sv};

template <std::size_t size>
bool holds(const std::array<std::string_view, size> &names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// What the parser tells goes through here.
class Listener {
public:
    explicit Listener(TextSink &sink)
        : _sink(sink)
    {
    }
    htmlParserCtxtPtr context = nullptr;

    void start(std::string_view name)
    {
        if (++_depth > maxDepth) {
            _sink.markCut();
            xmlStopParser(context);
        }
        _skipping += holds(skippedElements, name);
        _inHead += name == "head";
        _inTitle += name == "title";
        part(name);
    }
    void end(std::string_view name)
    {
        --_depth;
        _skipping -= holds(skippedElements, name);
        _inHead -= name == "head";
        _inTitle -= name == "title";
        part(name);
    }
    void text(std::string_view utf8)
    {
        if (_skipping <= 0 && (_inHead <= 0 || _inTitle > 0))
            _sink.appendCollapsed(utf8);
    }

private:
    void part(std::string_view name)
    {
        if (!holds(inlineElements, name))
            _sink.separate(name == "td" || name == "th" || name == "img" ? ' ' : '\n');
    }

    TextSink &_sink;
    int _depth = 0;
    int _skipping = 0;
    int _inHead = 0;
    int _inTitle = 0;
};

std::string_view view(const xmlChar *text)
{
    return reinterpret_cast<const char *>(text);
}

Listener &listener(void *user)
{
    return *static_cast<Listener *>(user);
}

void onStart(void *user, const xmlChar *name, const xmlChar **)
{
    listener(user).start(view(name));
}

void onEnd(void *user, const xmlChar *name)
{
    listener(user).end(view(name));
}

void onText(void *user, const xmlChar *text, int size)
{
    listener(user).text({reinterpret_cast<const char *>(text), std::size_t(size)});
}

void onError(void *, xmlErrorPtr)
{
}

/// As far as it can be told from outside; the parser's own guess is Latin-1 for everything else.
std::string charsetOf(std::string_view html)
{
    if (const auto declared = declaredCharset(html))
        return *declared;
    return detectedCharset(html).value_or(std::string());
}

void parseUtf8(std::string_view utf8, TextSink &sink)
{
    xmlSAXHandler sax{};
    sax.startElement = &onStart;
    sax.endElement = &onEnd;
    sax.characters = &onText;
    sax.ignorableWhitespace = &onText;
    sax.initialized = XML_SAX2_MAGIC;
    sax.serror = &onError;
    Listener listener(sink);
    auto *context =
        htmlCreatePushParserCtxt(&sax, &listener, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8);
    if (!context)
        return;
    listener.context = context;
    htmlCtxtUseOptions(context, HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                                    HTML_PARSE_NONET | HTML_PARSE_IGNORE_ENC);
    for (; !utf8.empty() && !sink.isFull() && !context->disableSAX;
         utf8.remove_prefix(std::min(stepBytes, utf8.size())))
        htmlParseChunk(context, utf8.data(), int(std::min(stepBytes, utf8.size())), 0);
    htmlParseChunk(context, nullptr, 0, 1);
    htmlFreeParserCtxt(context);
}

}  // namespace

void readHtml(std::string_view html, const std::string &charset, TextSink &sink)
{
    if (html.size() > maxHtmlBytes) {
        html = html.substr(0, maxHtmlBytes);
        sink.markCut();
    }
    const auto used = isKnownCharset(charset) && !charset.empty() ? charset : charsetOf(html);
    if (used.empty())
        return;
    if (used == "UTF-8" || used == "utf-8")
        parseUtf8(html, sink);
    else
        parseUtf8(decoded(html, used, maxHtmlBytes * 3), sink);
    sink.separate('\n');
}

}  // namespace vellumhound::extract::helper
