// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/Secrets.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace vellumhound::extract {
namespace {

bool isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

char lower(char c)
{
    return isUpper(c) ? char(c - 'A' + 'a') : c;
}

bool isWord(char c)
{
    return isDigit(c) || (lower(c) >= 'a' && lower(c) <= 'z') || c == '_';
}

bool isUpperOrDigit(char c)
{
    return isUpper(c) || isDigit(c);
}

bool isTokenCharacter(char c)
{
    return isWord(c) || c == '-';
}

bool isBase64(char c)
{
    return (isWord(c) && c != '_') || c == '+' || c == '/' || c == '=';
}

/// How a token begins, and how many characters follow at least.
struct Token {
    std::string_view prefix;
    std::size_t length = 0;
    bool (*isOfIt)(char) = isTokenCharacter;
};

constexpr std::array tokens{
    Token{"AGE-SECRET-KEY-1", 10, isUpperOrDigit},
    Token{"AKIA", 16, isUpperOrDigit},
    Token{"ASIA", 16, isUpperOrDigit},
    Token{"AIza", 35},
    Token{"github_pat_", 22},
    Token{"ghp_", 36},
    Token{"gho_", 36},
    Token{"ghu_", 36},
    Token{"ghs_", 36},
    Token{"ghr_", 36},
    Token{"glpat-", 20},
    Token{"hf_", 34},
    Token{"npm_", 36},
    Token{"pypi-", 50},
    Token{"rk_live_", 16},
    Token{"sk_live_", 16},
    Token{"sk-ant-", 20},
    Token{"sk-proj-", 20},
    Token{"xoxa-", 10},
    Token{"xoxb-", 10},
    Token{"xoxp-", 10},
    Token{"xoxr-", 10},
    Token{"xoxs-", 10},
};

/// By the first character of what may be a secret.
constexpr auto mayBegin = [] {
    std::array<bool, 256> table{};
    table[std::size_t('-')] = true;  // the header of a key
    table[std::size_t('P')] = true;  // PuTTY's
    table[std::size_t('e')] = true;  // a JSON web token
    for (const auto &token : tokens)
        table[static_cast<unsigned char>(token.prefix.front())] = true;
    return table;
}();

std::size_t runLength(std::string_view text, bool (*isOfIt)(char))
{
    return std::size_t(std::find_if_not(text.begin(), text.end(), isOfIt) - text.begin());
}

bool beginsWithToken(std::string_view text)
{
    return std::any_of(tokens.begin(), tokens.end(), [&](const Token &token) {
        if (!text.starts_with(token.prefix))
            return false;
        const auto rest = text.substr(token.prefix.size(), token.length);
        return rest.size() == token.length && runLength(rest, token.isOfIt) == token.length;
    });
}

/// Header, payload and signature; the first two are JSON objects.
bool beginsWithWebToken(std::string_view text)
{
    if (!text.starts_with("eyJ"))
        return false;
    for (const bool isFollowed : {true, true, false}) {
        const auto length = runLength(text, isTokenCharacter);
        if (length < 10 || (isFollowed && text.substr(length, 1) != "."))
            return false;
        text.remove_prefix(isFollowed ? length + 1 : length);
    }
    return true;
}

/// The length of a key's header, such as five dashes, BEGIN, a kind, PRIVATE KEY, five dashes; 0 if
/// the text does not begin with one.
std::size_t lengthOfKeyHeader(std::string_view text)
{
    constexpr std::size_t longest = 80;
    const auto line = text.substr(0, std::min(text.find('\n'), longest));
    const bool isHeader = line.starts_with("-----BEGIN ") || line.starts_with("---- BEGIN ");
    const auto key = isHeader ? line.find(" PRIVATE KEY") : line.npos;
    const auto end = key == line.npos ? key : line.find("----", key);
    if (end == line.npos)
        return 0;
    return std::min(line.find_first_not_of('-', end), line.size());
}

/// Whether key material follows a header in the midst of a line: after a line break, which may be
/// written with a backslash as in JSON.
bool isFollowedByKey(std::string_view text)
{
    constexpr std::size_t fewest = 20;
    if (text.starts_with("\\r"))
        text.remove_prefix(2);
    if (text.starts_with("\\n"))
        text.remove_prefix(2);
    else
        text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\"'+"), text.size()));
    return runLength(text.substr(0, fewest), isBase64) == fewest;
}

bool beginsLine(std::string_view text, std::size_t place)
{
    while (place > 0 && (text[place - 1] == ' ' || text[place - 1] == '\t'))
        --place;
    return place == 0 || text[place - 1] == '\n' || text[place - 1] == '\r';
}

bool isSecretAt(std::string_view text, std::size_t place)
{
    const auto rest = text.substr(place);
    if (rest.front() == '-') {
        const auto header = lengthOfKeyHeader(rest);
        return header > 0 && (beginsLine(text, place) || isFollowedByKey(rest.substr(header)));
    }
    if (rest.starts_with("PuTTY-User-Key-File-"))
        return beginsLine(text, place);
    return beginsWithToken(rest) || beginsWithWebToken(rest);
}

}  // namespace

bool isSecretName(std::string_view fileName)
{
    std::string name(fileName);
    std::transform(name.begin(), name.end(), name.begin(), lower);
    return name.starts_with(".env") || name.ends_with(".env") || name == ".netrc" ||
           name.starts_with("credentials") || name.ends_with(".pem") || name.ends_with(".key");
}

bool holdsSecret(std::string_view utf8)
{
    bool isInWord = false;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const char c = utf8[i];
        const bool isCandidate = mayBegin[static_cast<unsigned char>(c)] && !isInWord;
        if (isCandidate && isSecretAt(utf8, i))
            return true;
        isInWord = isWord(c);
    }
    return false;
}

}  // namespace vellumhound::extract
