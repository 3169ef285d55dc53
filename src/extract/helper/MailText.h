// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/Input.h"
#include "extract/helper/TextSink.h"
#include "extract/Wire.h"

namespace vellumhound::extract::helper {

/// One message, or with `isMailbox` all messages of a mailbox file: subject, people, text parts
/// (HTML only where there is no plain text) and the names of attachments, not what is in them nor
/// what is encrypted. Of very large files the beginning is read.
wire::Status readMail(Input &input, bool isMailbox, TextSink &sink);

/// Loads what messages need at some point, while files can still be opened.
void prepareMail();

}  // namespace vellumhound::extract::helper
