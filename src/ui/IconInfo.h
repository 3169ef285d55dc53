// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Color.h"
#include "base/UTType.h"

#include <QString>

#include <optional>

namespace vellumhound::ui {

/// How a file is shown in a list: the name of a symbol and its colour, opaque. The colour is the
/// same in both themes; what paints it lifts it where the background swallows it.
struct IconInfo {
    QString symbolName;
    base::Color color;

    bool operator==(const IconInfo &) const = default;
};

/// The kinds of files that have a symbol and a colour of their own.
enum class FileKind {
    folder,
    text,
    image,
    audio,
    movie,
    application,
    plainData,
    pdf,
    archive,
    spreadsheet,
    presentation,
    richDocument,
    sourceCode,
    json,
    html,
    xml,
    font,
    threeD,
    database,
    excel,
    powerPoint,
    email,
    book,
    other,
};

/// The pair that stands for a kind. Any thread.
const IconInfo &iconInfo(FileKind kind);

/// The pair of a content type: exact types first, then the wider classes; without a type, that of
/// `FileKind::other`. Any thread.
const IconInfo &iconInfo(const std::optional<base::UTType> &contentType);

/// The pair of a file in a list: a folder looks like one whatever its type says.
const IconInfo &iconInfoForFile(bool isDirectory, const std::optional<base::UTType> &contentType);

}  // namespace vellumhound::ui
