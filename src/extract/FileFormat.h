// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

namespace vellumhound::extract {

/// How the text of a file is read. The values go over the wire.
enum class FileFormat : std::uint32_t {
    none = 0,  ///< no text expected
    plainText = 1,
    html = 2,
    xml = 3,  ///< markup of which only the text counts: SVG, flat OpenDocument, FictionBook
    pdf = 4,
    openDocument = 5,
    officeOpenXml = 6,
    epub = 7,
    rtf = 8,
    mail = 9,
    mailbox = 10,
    last = mailbox,
};

/// By the extension, upper and lower case alike; a few well-known names have none. Cheap enough to
/// be asked for every file there is; those that hold secrets by their name have no text for us.
/// `fileName` is the last component of a path.
FileFormat formatOf(std::string_view fileName);

}  // namespace vellumhound::extract
