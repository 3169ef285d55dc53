// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "content/Document.h"

#include <atomic>
#include <string>

namespace vellumhound::content {

/// What became of the attempt to read a file's text.
struct Extracted {
    enum class Outcome {
        text,        ///< `text` is all there is to find
        noText,      ///< nothing to find in this version: binary, refused, broken, unknown kind
        gone,        ///< there is no such file any more
        unreadable,  ///< its permissions or its disk refuse; that may change without its text
        tryLater,    ///< it is not the file's fault
    };
    Outcome outcome = Outcome::noText;
    std::string text;  ///< UTF-8 as far as it goes; anything else is kept as bytes

    bool operator==(const Extracted &) const = default;
};

/// Where the texts of files come from.
class TextSource {
public:
    virtual ~TextSource() = default;

    /// Reads a file's text, as long as that takes. `stamp` is what the file looked like a moment
    /// ago; a source that knows better puts there what it has read. Ends soon, with any outcome,
    /// once `isCancelled` is set. Called on the indexer's thread.
    virtual Extracted read(
        const std::string &path, Stamp &stamp, const std::atomic<bool> &isCancelled) = 0;
};

}  // namespace vellumhound::content
