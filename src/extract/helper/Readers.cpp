// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/Readers.h"

#include "extract/helper/Charset.h"
#include "extract/helper/DocumentReaders.h"
#include "extract/helper/HtmlText.h"
#include "extract/helper/MailText.h"
#include "extract/helper/PdfText.h"
#include "extract/helper/PlainText.h"
#include "extract/helper/RtfText.h"

#include <libxml/parser.h>
#include <new>

namespace vellumhound::extract::helper {
namespace {

using wire::Status;

Status readHtmlFile(Input &input, TextSink &sink)
{
    readHtml(input.bytes(), {}, sink);
    return sink.hasText() ? Status::text : Status::noText;
}

Status readAs(FileFormat format, Input &input, const wire::ReadText &request, TextSink &sink)
{
    switch (format) {
    case FileFormat::plainText:
        return readPlainText(input, request.maxTextBytes, sink);
    case FileFormat::html:
        return readHtmlFile(input, sink);
    case FileFormat::xml:
        return readXml(input, sink);
    case FileFormat::pdf:
        return readPdf(input, sink);
    case FileFormat::openDocument:
        return readOpenDocument(input, sink);
    case FileFormat::officeOpenXml:
        return readOfficeOpenXml(input, sink);
    case FileFormat::epub:
        return readEpub(input, sink);
    case FileFormat::rtf:
        return readRtf(input, sink);
    case FileFormat::mail:
        return readMail(input, false, sink);
    case FileFormat::mailbox:
        return readMail(input, true, sink);
    case FileFormat::none:
        break;
    }
    return Status::refused;
}

}  // namespace

void prepareReaders()
{
    xmlInitParser();
    preparePdf();
    prepareMail();
    // The character sets of ICU are inside its library; the first look at one opens it.
    isKnownCharset("windows-1252");
    detectedCharset("\xE0\xE8\xEC");
}

Status readText(Input &input, FileFormat format, const wire::ReadText &request, TextSink &sink)
{
    if (!input.isRegularFile())
        return Status::refused;
    if (format != FileFormat::plainText && input.size() > request.maxInputBytes)
        return Status::tooLarge;
    try {
        const auto status = readAs(format, input, request, sink);
        return input.hasFailed() ? Status::unreadable : status;
    } catch (const std::bad_alloc &) {
        return Status::tooLarge;
    } catch (...) {  // whatever a library throws at a damaged file
        return Status::refused;
    }
}

}  // namespace vellumhound::extract::helper
