// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/TextSink.h"

#include <functional>
#include <memory>
#include <string_view>

namespace vellumhound::extract::helper {

/// The attributes of one element, only while it begins.
class XmlAttributes {
public:
    XmlAttributes(const unsigned char *const *attributes, int count)
        : _attributes(attributes)
        , _count(count)
    {
    }
    /// By the name without its prefix; empty if there is none. References in it are resolved.
    std::string_view value(std::string_view localName) const;

private:
    const unsigned char *const *_attributes;
    int _count;
};

/// A parser that is fed in pieces and tells of elements and text as they come; nothing is kept, so
/// memory does not grow with the document. No entity but the five of XML is resolved, nothing is
/// loaded, 256 levels are the deepest. After the first fault it reads on as well as it can.
class XmlParser {
public:
    /// Names come without their prefix.
    struct Handlers {
        std::function<void(std::string_view name, const XmlAttributes &attributes)> start;
        std::function<void(std::string_view name)> end;
        std::function<void(std::string_view utf8)> text;
    };

    explicit XmlParser(Handlers handlers);
    ~XmlParser();
    XmlParser(const XmlParser &) = delete;
    XmlParser &operator=(const XmlParser &) = delete;

    /// False once there is no use in feeding more.
    bool feed(std::string_view bytes);
    /// Call once after the last piece.
    void finish();
    /// The reading ended at an element nested too deeply.
    bool isTooDeep() const;

private:
    struct Callbacks;
    struct State;

    std::unique_ptr<State> _state;
};

/// What an element means for the text.
enum class XmlRole {
    nothing,    ///< its text counts if that around it does
    text,       ///< what is inside counts
    textBlock,  ///< the same, on lines of its own
    skipped,    ///< what is inside does not count
    paragraph,  ///< stands on lines of its own
    cell,       ///< parted from its neighbours by a blank
    blank,      ///< stands for white space itself
    lineBreak,  ///< stands for a line break itself
};

/// The text of a document whose elements mean what `roleOf` says of their names.
class XmlTextReader {
public:
    using RoleOf = XmlRole (*)(std::string_view name);

    /// `countsFromTheStart`: text counts also outside of elements with the role `text`.
    XmlTextReader(RoleOf roleOf, bool countsFromTheStart, TextSink &sink);

    bool feed(std::string_view bytes);
    void finish();

private:
    void begin(std::string_view name);
    void end(std::string_view name);

    RoleOf _roleOf;
    TextSink &_sink;
    int _counting = 0;
    int _skipping = 0;
    XmlParser _parser;
};

}  // namespace vellumhound::extract::helper
