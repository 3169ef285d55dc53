// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UTType.h"

#include "base/UTTypeTable.h"

#include <QHash>
#include <QMimeDatabase>
#include <QMimeType>

#include <algorithm>
#include <array>
#include <deque>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vellumhound::base {

using namespace Qt::StringLiterals;

namespace {

/// What the functions below say instead of a number when nothing is known.
constexpr int unknown = -1;
/// No suffix that means something is longer; a longer one is a sentence with a dot in it.
constexpr qsizetype longestSuffix = 32;
/// Each suffix seen is asked for once, up to this many different ones.
constexpr std::size_t mostCachedSuffixes = 20'000;

struct ViewHash {
    using is_transparent = void;
    std::size_t operator()(std::u16string_view text) const
    {
        return std::hash<std::u16string_view>()(text);
    }
};
using NumberByName = std::unordered_map<std::u16string, int, ViewHash, std::equal_to<>>;

QString toText(std::u16string_view view)
{
    return QString::fromUtf16(view.data(), qsizetype(view.size()));
}

std::u16string_view toView(QStringView text)
{
    return {text.utf16(), std::size_t(text.size())};
}

template <class Function> void forEachWord(std::u16string_view words, Function function)
{
    while (!words.empty()) {
        const auto end = std::min(words.find(u' '), words.size());
        function(words.substr(0, end));
        words.remove_prefix(std::min(end + 1, words.size()));
    }
}

/// A lower-case copy on the stack: a listing asks for each of its rows.
class LowerCase {
public:
    explicit LowerCase(QStringView text)
        : _size(text.size() <= longestSuffix ? std::size_t(text.size()) : 0)
    {
        for (std::size_t i = 0; i < _size; ++i)
            _text[i] = lowered(text[qsizetype(i)].unicode());
    }
    /// Empty for a text that is too long.
    std::u16string_view view() const { return {_text.data(), _size}; }

private:
    static char16_t lowered(char16_t c)
    {
        if (c < 0x80)
            return c >= u'A' && c <= u'Z' ? char16_t(c + (u'a' - u'A')) : c;
        return QChar(c).toLower().unicode();
    }

    std::array<char16_t, longestSuffix> _text;  // only the first _size are written
    std::size_t _size = 0;
};

bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

/// Numbers behind a dot are versions and dates, not kinds; a single digit is a manual page.
bool isWorthAsking(std::u16string_view suffix)
{
    return suffix.size() == 1 || !std::all_of(suffix.begin(), suffix.end(), isDigit);
}

bool isValidExtension(const QString &extension)
{
    return !extension.isEmpty() && extension.size() <= 255 &&
           std::none_of(extension.begin(), extension.end(), [](QChar c) {
               return c == u'/' || c.isSpace() || c.category() == QChar::Other_Control;
           });
}

/// A type name, one slash, a subtype name, of the characters that RFC 6838 allows.
bool isValidMimeType(const QString &mimeType)
{
    static const QString signs = u"!#$&-^_.+"_s;
    const auto isAllowed = [](QChar c) {
        return c.unicode() < 0x80 && (c.isLetterOrNumber() || signs.contains(c));
    };
    const auto slash = mimeType.indexOf(u'/');
    return slash > 0 && slash < mimeType.size() - 1 && mimeType.size() <= 255 &&
           std::all_of(mimeType.begin(), mimeType.begin() + slash, isAllowed) &&
           std::all_of(mimeType.begin() + slash + 1, mimeType.end(), isAllowed);
}

/// The parent of a type that only the MIME database knows. Its inheritance is taken for what it is
/// good for: to tell that something reads as text or belongs to a family of its own.
QString parentOf(const QMimeType &mime, const QString &name)
{
    static const std::array<std::pair<QString, QString>, 5> families = {{
        {u"image/"_s, u"public.image"_s},
        {u"audio/"_s, u"public.audio"_s},
        {u"video/"_s, u"public.movie"_s},
        {u"font/"_s, u"public.font"_s},
        {u"model/"_s, u"public.3d-content"_s},
    }};
    for (const auto &[beginning, parent] : families) {
        if (name.startsWith(beginning))
            return parent;
    }
    if (name.endsWith("+xml"_L1))
        return u"public.xml"_s;
    if (name.endsWith("+json"_L1))
        return u"public.json"_s;
    if (mime.isValid() && mime.inherits(u"text/plain"_s))
        return u"public.plain-text"_s;
    return name.startsWith("text/"_L1) ? u"public.text"_s : u"public.data"_s;
}

/// All types by number: the declared ones first, which never change and are read without a lock,
/// then the dynamic ones as they turn up. One for the process, any thread.
class TypeRegistry {
public:
    TypeRegistry();

    QString identifier(int number) const;
    /// The type itself and all above it, nearest first.
    std::vector<int> tree(int number) const;
    bool conforms(int number, int other) const;

    int declared(std::u16string_view identifier) const;
    /// A declared or dynamic identifier; `unknown` if nobody knows it.
    int forIdentifier(const QString &identifier);
    /// `mimeType` is lower case and valid.
    int forMimeType(const QString &mimeType);
    /// `unknown` if neither the table nor the MIME database has the suffix (lower case).
    int forSuffix(std::u16string_view suffix);
    int forUnknownExtension(const QString &extension);
    int forFileName(QStringView name);

private:
    struct Entry {
        QString identifier;
        std::vector<int> tree;
    };

    void declare(const DeclaredType &type);
    bool isDeclared(int number) const { return std::size_t(number) < _declared.size(); }
    int intern(const QString &identifier, int parent);
    int askForSuffix(const QString &suffix);
    int forCompoundSuffix(QStringView name, qsizetype lastDot);

    std::vector<Entry> _declared;
    QHash<QString, int> _byIdentifier;
    QHash<QString, int> _byMimeType;
    NumberByName _bySuffix;
    NumberByName _byWholeName;
    std::unordered_set<std::u16string_view> _compoundSuffixes;

    mutable std::shared_mutex _mutex;  // guards what is below
    std::deque<Entry> _dynamic;
    QHash<QString, int> _dynamicByIdentifier;
    NumberByName _askedSuffixes;
};

TypeRegistry::TypeRegistry()
    : _compoundSuffixes(compoundSuffixes().begin(), compoundSuffixes().end())
{
    for (const auto &type : declaredTypes())
        declare(type);
    for (const auto &alias : typeAliases())
        _byIdentifier.insert(toText(alias.name), declared(alias.identifier));
    for (const auto &file : namedFiles())
        _byWholeName.emplace(file.name, declared(file.identifier));
}

void TypeRegistry::declare(const DeclaredType &type)
{
    const auto number = int(_declared.size());
    Entry entry{toText(type.identifier), {number}};
    std::vector<int> parents;
    forEachWord(type.parents, [&](auto parent) { parents.push_back(declared(parent)); });
    // Nearest first: all trees advance by one level before any goes on.
    for (std::size_t level = 0, added = 1; added > 0; ++level) {
        added = 0;
        for (const int parent : parents) {
            const auto &above = _declared[std::size_t(parent)].tree;
            if (level >= above.size())
                continue;
            ++added;
            if (std::find(entry.tree.begin(), entry.tree.end(), above[level]) == entry.tree.end())
                entry.tree.push_back(above[level]);
        }
    }
    _byIdentifier.insert(entry.identifier, number);
    _declared.push_back(std::move(entry));
    forEachWord(
        type.mimeTypes, [&](auto mimeType) { _byMimeType.insert(toText(mimeType), number); });
    forEachWord(type.extensions, [&](auto suffix) { _bySuffix.emplace(suffix, number); });
}

QString TypeRegistry::identifier(int number) const
{
    if (isDeclared(number))
        return _declared[std::size_t(number)].identifier;
    const std::shared_lock lock(_mutex);
    return _dynamic[std::size_t(number) - _declared.size()].identifier;
}

std::vector<int> TypeRegistry::tree(int number) const
{
    if (isDeclared(number))
        return _declared[std::size_t(number)].tree;
    const std::shared_lock lock(_mutex);
    return _dynamic[std::size_t(number) - _declared.size()].tree;
}

bool TypeRegistry::conforms(int number, int other) const
{
    if (number == other)
        return true;
    const auto holds = [other](const std::vector<int> &tree) {
        return std::find(tree.begin(), tree.end(), other) != tree.end();
    };
    if (isDeclared(number))
        return holds(_declared[std::size_t(number)].tree);
    const std::shared_lock lock(_mutex);
    return holds(_dynamic[std::size_t(number) - _declared.size()].tree);
}

int TypeRegistry::declared(std::u16string_view identifier) const
{
    const int number = _byIdentifier.value(toText(identifier), unknown);
    Q_ASSERT(number != unknown);
    return number;
}

int TypeRegistry::forIdentifier(const QString &identifier)
{
    const auto name = identifier.toLower();
    if (const auto known = _byIdentifier.constFind(name); known != _byIdentifier.cend())
        return *known;
    constexpr auto mimePrefix = "dyn.mime."_L1;
    constexpr auto extensionPrefix = "dyn.ext."_L1;
    if (name.startsWith(mimePrefix)) {
        const auto mimeType = name.mid(mimePrefix.size());
        return isValidMimeType(mimeType) ? forMimeType(mimeType) : unknown;
    }
    if (name.startsWith(extensionPrefix)) {
        const auto extension = name.mid(extensionPrefix.size());
        if (!isValidExtension(extension))
            return unknown;
        const int known = forSuffix(toView(extension));
        return known != unknown ? known : forUnknownExtension(extension);
    }
    return unknown;
}

int TypeRegistry::forMimeType(const QString &mimeType)
{
    if (const auto known = _byMimeType.constFind(mimeType); known != _byMimeType.cend())
        return *known;
    const auto mime = QMimeDatabase().mimeTypeForName(mimeType);
    const auto name = mime.isValid() ? mime.name().toLower() : mimeType;
    if (const auto known = _byMimeType.constFind(name); known != _byMimeType.cend())
        return *known;
    if (mime.isValid() && mime.inherits(u"image/x-dcraw"_s))
        return declared(u"public.camera-raw-image");
    return intern(u"dyn.mime."_s + name, declared(toView(parentOf(mime, name))));
}

int TypeRegistry::forSuffix(std::u16string_view suffix)
{
    if (const auto own = _bySuffix.find(suffix); own != _bySuffix.end())
        return own->second;
    // Behind a dot of its own the database would see only the last part.
    const bool isCompound = suffix.find(u'.') != suffix.npos;
    if (suffix.empty() || suffix.size() > std::size_t(longestSuffix) || !isWorthAsking(suffix) ||
        (isCompound && !_compoundSuffixes.contains(suffix)))
        return unknown;
    {
        const std::shared_lock lock(_mutex);
        if (const auto asked = _askedSuffixes.find(suffix); asked != _askedSuffixes.end())
            return asked->second;
    }
    const int number = askForSuffix(toText(suffix));
    const std::unique_lock lock(_mutex);
    if (_askedSuffixes.size() < mostCachedSuffixes)
        _askedSuffixes.emplace(suffix, number);
    return number;
}

int TypeRegistry::askForSuffix(const QString &suffix)
{
    const auto found = QMimeDatabase().mimeTypesForFileName(u"x."_s + suffix);
    if (found.isEmpty() || found.constFirst().isDefault())
        return unknown;
    return forMimeType(found.constFirst().name().toLower());
}

int TypeRegistry::forUnknownExtension(const QString &extension)
{
    return intern(u"dyn.ext."_s + extension, declared(u"public.data"));
}

int TypeRegistry::intern(const QString &identifier, int parent)
{
    const std::unique_lock lock(_mutex);
    if (const auto known = _dynamicByIdentifier.constFind(identifier);
        known != _dynamicByIdentifier.cend())
        return *known;
    const auto number = int(_declared.size() + _dynamic.size());
    Entry entry{identifier, {number}};
    const auto &above = _declared[std::size_t(parent)].tree;
    entry.tree.insert(entry.tree.end(), above.begin(), above.end());
    _dynamic.push_back(std::move(entry));
    _dynamicByIdentifier.insert(identifier, number);
    return number;
}

int TypeRegistry::forCompoundSuffix(QStringView name, qsizetype lastDot)
{
    const auto before = name.left(lastDot).lastIndexOf(u'.');
    if (before <= 0)
        return unknown;
    const LowerCase suffix(name.mid(before + 1));
    if (_bySuffix.contains(suffix.view()) || _compoundSuffixes.contains(suffix.view()))
        return forSuffix(suffix.view());
    return unknown;
}

int TypeRegistry::forFileName(QStringView name)
{
    const LowerCase wholeName(name);
    if (const auto whole = _byWholeName.find(wholeName.view()); whole != _byWholeName.end())
        return whole->second;
    // A leading dot hides the file, it begins no suffix. Names without a suffix are not looked up
    // in the MIME database: a miss costs 50 µs there, and object stores hold them by the thousand.
    if (const auto dot = name.lastIndexOf(u'.'); dot > 0) {
        if (const int compound = forCompoundSuffix(name, dot); compound != unknown)
            return compound;
        const auto suffix = name.mid(dot + 1);
        if (suffix == u"C")
            return declared(u"public.c-plus-plus-source");
        if (const int single = forSuffix(LowerCase(suffix).view()); single != unknown)
            return single;
    }
    const LowerCase start(name.left(longestSuffix));
    for (const auto &beginning : nameBeginnings()) {
        if (start.view().starts_with(beginning.name))
            return declared(beginning.identifier);
    }
    return unknown;
}

/// Types are values that anyone may make, so the table they point into is the process's.
TypeRegistry &registry()
{
    static TypeRegistry theRegistry;
    return theRegistry;
}

}  // namespace

std::optional<UTType> UTType::fromIdentifier(const QString &identifier)
{
    const int number = registry().forIdentifier(identifier);
    return number == unknown ? std::nullopt : std::optional(UTType(number));
}

std::optional<UTType> UTType::fromFilenameExtension(
    const QString &extension, const UTType &conformingTo)
{
    if (!isValidExtension(extension))
        return std::nullopt;
    const auto suffix = extension == u"C" ? u"c++"_s : extension.toLower();
    int number = registry().forSuffix(toView(suffix));
    if (number == unknown)
        number = registry().forUnknownExtension(suffix);
    const UTType type(number);
    return type.conformsTo(conformingTo) ? std::optional(type) : std::nullopt;
}

std::optional<UTType> UTType::fromMimeType(const QString &mimeType, const UTType &conformingTo)
{
    const auto name = mimeType.section(u';', 0, 0).trimmed().toLower();
    if (!isValidMimeType(name))
        return std::nullopt;
    const UTType type(registry().forMimeType(name));
    return type.conformsTo(conformingTo) ? std::optional(type) : std::nullopt;
}

std::optional<UTType> UTType::forFileName(const QString &fileName)
{
    const int number = registry().forFileName(fileName);
    return number == unknown ? std::nullopt : std::optional(UTType(number));
}

QString UTType::identifier() const
{
    return registry().identifier(_number);
}

bool UTType::conformsTo(const UTType &other) const
{
    return registry().conforms(_number, other._number);
}

QStringList UTType::typeTree() const
{
    QStringList identifiers;
    for (const int number : registry().tree(_number))
        identifiers.append(registry().identifier(number));
    return identifiers;
}

}  // namespace vellumhound::base
