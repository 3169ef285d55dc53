// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/XmlText.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

namespace vellumhound::extract::helper {
namespace {

constexpr int maxDepth = 256;

std::string_view view(const unsigned char *text)
{
    return text ? std::string_view(reinterpret_cast<const char *>(text)) : std::string_view();
}

}  // namespace

std::string_view XmlAttributes::value(std::string_view localName) const
{
    // Five pointers each: local name, prefix, namespace, begin and end of the value.
    for (int i = 0; i < _count; ++i) {
        const auto *const *attribute = _attributes + std::ptrdiff_t(5) * i;
        if (view(attribute[0]) == localName)
            return {reinterpret_cast<const char *>(attribute[3]),
                std::size_t(attribute[4] - attribute[3])};
    }
    return {};
}

struct XmlParser::State {
    Handlers handlers;
    xmlSAXHandler sax{};
    xmlParserCtxtPtr context = nullptr;
    int depth = 0;
};

struct XmlParser::Callbacks {
    static State &state(void *user) { return *static_cast<State *>(user); }
    static void start(void *user, const xmlChar *name, const xmlChar *, const xmlChar *, int,
        const xmlChar **, int attributeCount, int, const xmlChar **attributes)
    {
        if (++state(user).depth > maxDepth)
            xmlStopParser(state(user).context);
        else
            state(user).handlers.start(view(name), XmlAttributes(attributes, attributeCount));
    }
    static void end(void *user, const xmlChar *name, const xmlChar *, const xmlChar *)
    {
        if (state(user).depth-- <= maxDepth)
            state(user).handlers.end(view(name));
    }
    static void text(void *user, const xmlChar *text, int size)
    {
        state(user).handlers.text({reinterpret_cast<const char *>(text), std::size_t(size)});
    }
    /// What a document declares itself is never looked at: no expansion, however it nests.
    static xmlEntityPtr entity(void *, const xmlChar *name) { return xmlGetPredefinedEntity(name); }
    static void error(void *, xmlErrorPtr) {}
};

XmlParser::XmlParser(Handlers handlers)
    : _state(std::make_unique<State>())
{
    _state->handlers = std::move(handlers);
    auto &sax = _state->sax;
    sax.initialized = XML_SAX2_MAGIC;
    sax.startElementNs = &Callbacks::start;
    sax.endElementNs = &Callbacks::end;
    sax.characters = &Callbacks::text;
    sax.ignorableWhitespace = &Callbacks::text;
    sax.cdataBlock = &Callbacks::text;
    sax.getEntity = &Callbacks::entity;
    sax.serror = &Callbacks::error;
    _state->context = xmlCreatePushParserCtxt(&sax, _state.get(), nullptr, 0, nullptr);
    if (_state->context)
        xmlCtxtUseOptions(_state->context,
            XML_PARSE_NONET | XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
}

XmlParser::~XmlParser()
{
    auto *context = _state->context;
    if (!context)
        return;
    // Where a document declares entities, the parser makes a document to keep them in, and leaves
    // it.
    if (context->myDoc)
        xmlFreeDoc(context->myDoc);
    xmlFreeParserCtxt(context);
}

bool XmlParser::feed(std::string_view bytes)
{
    auto *context = _state->context;
    if (!context || context->disableSAX)
        return false;
    xmlParseChunk(context, bytes.data(), int(bytes.size()), 0);
    return !context->disableSAX;
}

void XmlParser::finish()
{
    if (_state->context)
        xmlParseChunk(_state->context, nullptr, 0, 1);
}

bool XmlParser::isTooDeep() const
{
    return _state->depth > maxDepth;
}

XmlTextReader::XmlTextReader(RoleOf roleOf, bool countsFromTheStart, TextSink &sink)
    : _roleOf(roleOf)
    , _sink(sink)
    , _counting(countsFromTheStart ? 1 : 0)
    , _parser({[this](std::string_view name, const XmlAttributes &) { begin(name); },
          [this](std::string_view name) { end(name); },
          [this](std::string_view text) {
              if (_counting > 0 && _skipping == 0)
                  _sink.appendCollapsed(text);
          }})
{
}

bool XmlTextReader::feed(std::string_view bytes)
{
    return !_sink.isFull() && _parser.feed(bytes);
}

void XmlTextReader::finish()
{
    _parser.finish();
    if (_parser.isTooDeep())
        _sink.markCut();
    _sink.separate('\n');
}

void XmlTextReader::begin(std::string_view name)
{
    switch (_roleOf(name)) {
    case XmlRole::nothing:
        break;
    case XmlRole::text:
        ++_counting;
        break;
    case XmlRole::textBlock:
        ++_counting;
        _sink.separate('\n');
        break;
    case XmlRole::skipped:
        ++_skipping;
        break;
    case XmlRole::paragraph:
    case XmlRole::lineBreak:
        _sink.separate('\n');
        break;
    case XmlRole::cell:
    case XmlRole::blank:
        _sink.separate(' ');
        break;
    }
}

void XmlTextReader::end(std::string_view name)
{
    switch (_roleOf(name)) {
    case XmlRole::text:
        --_counting;
        break;
    case XmlRole::textBlock:
        --_counting;
        _sink.separate('\n');
        break;
    case XmlRole::skipped:
        --_skipping;
        break;
    case XmlRole::paragraph:
        _sink.separate('\n');
        break;
    case XmlRole::cell:
        _sink.separate(' ');
        break;
    case XmlRole::nothing:
    case XmlRole::blank:
    case XmlRole::lineBreak:
        break;
    }
}

}  // namespace vellumhound::extract::helper
