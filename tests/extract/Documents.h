// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTest>

#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace QTest {

/// So that a failed comparison shows both texts.
template <> inline char *toString(const std::string &text)
{
    return qstrdup(text.c_str());
}

}  // namespace QTest

namespace vellumhound::extract::tests {

/// An open file in memory that holds these bytes; closed with this object.
class OpenFile {
public:
    explicit OpenFile(std::string_view bytes)
        : _descriptor(::memfd_create("document", MFD_CLOEXEC))
    {
        while (!bytes.empty()) {
            const auto count = ::write(_descriptor, bytes.data(), bytes.size());
            if (count <= 0)
                std::abort();
            bytes.remove_prefix(std::size_t(count));
        }
    }
    ~OpenFile() { ::close(_descriptor); }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    int descriptor() const { return _descriptor; }
    /// A descriptor of its own for somebody who closes it.
    int handedOver() const { return ::dup(_descriptor); }

private:
    int _descriptor;
};

using Part = std::pair<std::string, std::string>;  // name, content

/// A zip archive with these parts, in this order.
std::string zip(const std::vector<Part> &parts);
/// One whose single part says to be `gigabytes` of zeros, as a deflate stream of a 158th of that.
std::string zipBomb(const std::string &partName, unsigned gigabytes);

std::string docx(const std::string &body);
std::string xlsx(const std::vector<std::string> &texts);
std::string pptx(const std::vector<std::string> &slides);
std::string odt(const std::string &body);
std::string epub(const std::vector<std::string> &chapters);
/// One page for each text, in Helvetica. The texts are Latin-1 without parentheses or backslashes.
std::string pdf(const std::vector<std::string> &pages);
std::string pdfOfObjects(const std::vector<std::string> &objects, const std::string &trailer = {});
std::string rtf(const std::string &body);
std::string mail(const std::string &subject, const std::string &body);

std::string repeated(std::string_view text, std::size_t times);
/// That many words of ordinary prose, always the same ones for the same number.
std::string prose(std::size_t words);

}  // namespace vellumhound::extract::tests
