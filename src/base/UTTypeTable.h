// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string_view>

namespace vellumhound::base {

/// One declared type. Lists are separated by blanks; parents stand before their children in the
/// table.
struct DeclaredType {
    std::u16string_view identifier;
    std::u16string_view parents;
    std::u16string_view mimeTypes;
    std::u16string_view extensions;  // lower case, compound ones such as "tar.gz" included
};

/// A name (of an identifier or of a file) that stands for a declared type.
struct TypeName {
    std::u16string_view name;
    std::u16string_view identifier;
};

/// The types this system knows by itself. Extensions given here win over the MIME database, which
/// knows them as something else (".ts" as a translation, ".otf" as a formula template) or not at
/// all. The conformance is ours too: the database's inheritance says how a file can be parsed, so
/// there JSON is an executable, a text document an archive, and a desktop entry a text.
std::span<const DeclaredType> declaredTypes();
/// Second identifiers of declared types.
std::span<const TypeName> typeAliases();
/// Files known by their whole name, in lower case.
std::span<const TypeName> namedFiles();
/// Files known by the beginning of their name, if their suffix says nothing, in lower case.
std::span<const TypeName> nameBeginnings();
/// Suffixes of two parts that the MIME database tells apart from their last part; those of the
/// table are not repeated.
std::span<const std::u16string_view> compoundSuffixes();

}  // namespace vellumhound::base
