// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/Input.h"
#include "extract/helper/TextSink.h"
#include "extract/Wire.h"

namespace vellumhound::extract::helper {

/// What is in the zip archives of office programs and e-books. Each gives `refused` for a file that
/// is no such archive and `encrypted` for one that needs a password; of a damaged one it gives what
/// can be read.

/// Title and keywords, then the body, then headers and footers; not what was deleted.
wire::Status readOpenDocument(Input &input, TextSink &sink);
/// Documents with headers, footers, notes and comments; the texts of workbooks, not their numbers;
/// slides by their number, each followed by its notes.
wire::Status readOfficeOpenXml(Input &input, TextSink &sink);
/// Title and description, then the chapters in the order of the book.
wire::Status readEpub(Input &input, TextSink &sink);
/// SVG, flat OpenDocument and FictionBook: what a person reads of them.
wire::Status readXml(Input &input, TextSink &sink);

}  // namespace vellumhound::extract::helper
