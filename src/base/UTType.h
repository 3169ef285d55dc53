// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>

namespace vellumhound::base {

/// A content type: an interned identifier such as "public.plain-text" with a place in the tree of
/// types. A small value, cheap to copy and compare; any thread. Two values are equal when their
/// identifiers are, after aliases are resolved.
///
/// Known types and their parents stand in our own table; everything else comes from the shared MIME
/// database as "dyn.mime.<mime>" or "dyn.ext.<extension>" with a derived parent.
class UTType {
public:
    /// A type of the table (any case), or the type behind a dynamic identifier; absent for an
    /// identifier that nobody knows.
    static std::optional<UTType> fromIdentifier(const QString &identifier);
    /// The type of files with this extension (no dot, any case), if it conforms to `conformingTo`.
    /// An empty extension gives none; an unknown one gives a dynamic type.
    static std::optional<UTType> fromFilenameExtension(
        const QString &extension, const UTType &conformingTo);
    /// The type of a MIME name, if it is a valid MIME name and conforms to `conformingTo`.
    static std::optional<UTType> fromMimeType(const QString &mimeType, const UTType &conformingTo);
    /// The type of a regular file by its name alone: longest known suffix, whole-name globs, else
    /// absent when nothing is known of it. Cached by suffix; fast enough for each row of a listing.
    static std::optional<UTType> forFileName(const QString &fileName);

    static UTType item();
    static UTType data();
    static UTType folder();
    static UTType directory();
    static UTType symlink();
    static UTType fileURL();
    static UTType content();
    static UTType text();
    static UTType plainText();
    static UTType image();
    static UTType audio();
    static UTType movie();
    static UTType application();
    static UTType pdf();
    static UTType archive();
    static UTType spreadsheet();
    static UTType presentation();
    static UTType sourceCode();
    static UTType json();
    static UTType html();
    static UTType xml();
    static UTType font();
    static UTType threeDContent();
    static UTType database();
    static UTType emailMessage();

    QString identifier() const;
    /// The text form: the identifier.
    QString description() const { return identifier(); }
    /// Whether this is `other` or one of its subtypes.
    bool conformsTo(const UTType &other) const;
    /// This type's identifier and those of all its ancestors, nearest first.
    QStringList typeTree() const;

    bool operator==(const UTType &) const = default;
    friend std::size_t qHash(const UTType &type, std::size_t seed = 0) noexcept
    {
        return std::size_t(type._number) ^ seed;
    }

private:
    explicit UTType(int number)
        : _number(number)
    {
    }
    int _number = 0;  // place in the interning table
};

}  // namespace vellumhound::base
