// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/RtfText.h"

#include "extract/helper/Charset.h"
#include "extract/helper/RtfCodePages.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace vellumhound::extract::helper {
namespace {

constexpr std::size_t maxDepth = 5'000;

/// Words that open a group of which nothing is read.
bool isSkippedDestination(std::string_view word)
{
    static const std::unordered_set<std::string_view> words{"colortbl", "stylesheet", "info",
        "pict", "nonshppict", "sp", "listtext", "pntext", "pntxta", "pntxtb", "xe", "tc", "rxe",
        "filetbl", "revtbl", "private", "fldinst", "objdata", "datafield", "themedata"};
    return words.contains(word);
}

/// Groups marked as "skip if unknown" that hold text nevertheless.
bool isKnownDestination(std::string_view word)
{
    return word == "shpinst" || word == "annotation" || word == "fldrslt";
}

/// Words that stand for one character; 0 for all others.
char32_t characterOf(std::string_view word)
{
    static const std::unordered_map<std::string_view, char32_t> characters{{"par", U'\n'},
        {"line", U'\n'}, {"sect", U'\n'}, {"page", U'\n'}, {"row", U'\n'}, {"nestrow", U'\n'},
        {"tab", U'\t'}, {"cell", U'\t'}, {"nestcell", U'\t'}, {"emdash", U'\u2014'},
        {"endash", U'\u2013'}, {"bullet", U'\u2022'}, {"lquote", U'\u2018'}, {"rquote", U'\u2019'},
        {"ldblquote", U'\u201C'}, {"rdblquote", U'\u201D'}, {"emspace", U' '}, {"enspace", U' '},
        {"qmspace", U' '}};
    const auto found = characters.find(word);
    return found == characters.end() ? 0 : found->second;
}

class RtfReader {
public:
    RtfReader(std::string_view rtf, TextSink &sink)
        : _rtf(rtf)
        , _sink(sink)
    {
        _groups.emplace_back();
    }

    void read()
    {
        while (_place < _rtf.size() && !_sink.isFull()) {
            const char c = _rtf[_place++];
            if (c == '{')
                openGroup();
            else if (c == '}')
                closeGroup();
            else if (c == '\\')
                readControl();
            else if (c != '\r' && c != '\n')
                addByte(c);
        }
        giveBytes();
    }

private:
    /// What a closing brace brings back.
    struct Group {
        int codePage = 0;          // of the font; 0: the document's
        int replacementBytes = 1;  // that follow a \u for programs without Unicode
        bool isSkipped = false;
        bool isFontTable = false;
    };

    Group &group() { return _groups.back(); }

    void openGroup()
    {
        giveBytes();
        if (_groups.size() >= maxDepth) {
            _sink.markCut();
            _place = _rtf.size();
            return;
        }
        _groups.push_back(group());
        _isStarred = false;
        _replacementsLeft = 0;
    }

    void closeGroup()
    {
        giveBytes();
        if (_groups.size() > 1)
            _groups.pop_back();
        _replacementsLeft = 0;
    }

    void readControl()
    {
        if (_place >= _rtf.size())
            return;
        const char c = _rtf[_place];
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'))
            return readWord();
        ++_place;
        switch (c) {
        case '\'':
            return readHexByte();
        case '*':
            _isStarred = true;
            return;
        case '\\':
        case '{':
        case '}':
            return addByte(c);
        case '~':
            return addCharacter(U' ');
        case '_':
            return addCharacter(U'-');
        case '\r':
        case '\n':
            return addCharacter(U'\n');
        default:
            return;  // optional hyphens and the like
        }
    }

    void readWord()
    {
        const auto start = _place;
        while (_place < _rtf.size() && std::isalpha(static_cast<unsigned char>(_rtf[_place])))
            ++_place;
        const auto word = _rtf.substr(start, _place - start);
        const auto number = readNumber();
        if (_place < _rtf.size() && _rtf[_place] == ' ')
            ++_place;
        const bool wasStarred = std::exchange(_isStarred, false);
        if (word == "bin") {
            _place += std::min(std::size_t(std::max(number.value_or(0), 0)), _rtf.size() - _place);
        } else if (isSkippedDestination(word) || (wasStarred && !isKnownDestination(word))) {
            giveBytes();
            group().isSkipped = true;
        } else if (word == "u" && number) {
            addUnit(*number);
        } else if (const auto character = characterOf(word)) {
            addCharacter(character);
        } else {
            applyState(word, number);
        }
    }

    std::optional<int> readNumber()
    {
        const auto start = _place;
        if (_place < _rtf.size() && _rtf[_place] == '-')
            ++_place;
        const auto digits = _place;
        long value = 0;
        while (_place < _rtf.size() && _place - digits < 9 &&
               std::isdigit(static_cast<unsigned char>(_rtf[_place])))
            value = value * 10 + (_rtf[_place++] - '0');
        if (_place == digits) {
            _place = start;
            return std::nullopt;
        }
        return int(_rtf[start] == '-' ? -value : value);
    }

    void applyState(std::string_view word, std::optional<int> number)
    {
        if (word == "fonttbl") {
            giveBytes();
            group().isFontTable = group().isSkipped = true;
        } else if (word == "ansicpg" && number) {
            _codePage = *number;
        } else if (word == "mac") {
            _codePage = 10000;
        } else if (word == "uc" && number) {
            group().replacementBytes = std::clamp(*number, 0, 16);
        } else if (word == "f" && number) {
            useFont(*number);
        } else if (word == "fcharset" && number && group().isFontTable) {
            _fontPages[_font] = codePageOfFontCharset(*number);
        }
    }

    void useFont(int font)
    {
        giveBytes();
        _font = font;
        if (group().isFontTable)
            return;
        const auto page = _fontPages.find(font);
        group().codePage = page == _fontPages.end() ? 0 : page->second;
    }

    void readHexByte()
    {
        if (_rtf.size() - _place < 2)
            return;
        const auto digit = [](char c) {
            return c >= '0' && c <= '9' ? c - '0' : ((c | 0x20) - 'a' + 10) & 15;
        };
        const char byte = char(digit(_rtf[_place]) << 4 | digit(_rtf[_place + 1]));
        _place += 2;
        addByte(byte);
    }

    void addByte(char byte)
    {
        if (_replacementsLeft > 0)
            --_replacementsLeft;
        else if (!group().isSkipped)
            _bytes += byte;
    }

    /// A unit of UTF-16, written as a signed number.
    void addUnit(int number)
    {
        const auto unit = static_cast<char16_t>(number);
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            _lead = unit;
        } else if (unit >= 0xDC00 && unit <= 0xDFFF && _lead) {
            addCharacter(0x10000u + ((char32_t(_lead) - 0xD800) << 10) + (unit - 0xDC00u));
            _lead = 0;
        } else {
            addCharacter(unit);
        }
        _replacementsLeft = group().replacementBytes;
    }

    void addCharacter(char32_t character)
    {
        giveBytes();
        if (!group().isSkipped)
            _sink.append(character);
        _replacementsLeft = 0;
    }

    void giveBytes()
    {
        if (_bytes.empty())
            return;
        const bool isAscii = std::none_of(_bytes.begin(), _bytes.end(),
            [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
        if (isAscii) {
            _sink.append(_bytes);
        } else {
            const int page = group().codePage ? group().codePage : _codePage;
            decode(_bytes, charsetOfCodePage(page), [this](std::string_view text) {
                _sink.append(text);
                return !_sink.isFull();
            });
        }
        _bytes.clear();
    }

    std::string_view _rtf;
    TextSink &_sink;
    std::size_t _place = 0;
    std::vector<Group> _groups;
    std::unordered_map<int, int> _fontPages;
    std::string _bytes;  // text in the code page, not given yet
    int _codePage = 1252;
    int _font = 0;
    int _replacementsLeft = 0;
    char16_t _lead = 0;
    bool _isStarred = false;
};

}  // namespace

wire::Status readRtf(Input &input, TextSink &sink)
{
    const auto bytes = input.bytes();
    if (!bytes.starts_with("{\\rtf"))
        return wire::Status::refused;
    RtfReader(bytes, sink).read();
    return sink.hasText() ? wire::Status::text : wire::Status::noText;
}

}  // namespace vellumhound::extract::helper
