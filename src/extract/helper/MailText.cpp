// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/MailText.h"

#include "extract/helper/Charset.h"
#include "extract/helper/HtmlText.h"

#include <array>
#include <gmime/gmime.h>
#include <iconv.h>
#include <memory>

namespace vellumhound::extract::helper {
namespace {

constexpr std::uint64_t maxMailBytes = 64u << 20;
constexpr int maxDepth = 40;

struct Unref {
    void operator()(void *object) const { g_object_unref(object); }
};
struct Free {
    void operator()(void *text) const { g_free(text); }
};
template <class Object> using Owned = std::unique_ptr<Object, Unref>;
using OwnedText = std::unique_ptr<char, Free>;

template <class Object> Object *cast(GMimeObject *object, GType type)
{
    return g_type_is_a(G_TYPE_FROM_INSTANCE(object), type) ? reinterpret_cast<Object *>(object)
                                                           : nullptr;
}

/// Walks through one message.
class MessageReader {
public:
    explicit MessageReader(TextSink &sink)
        : _sink(sink)
    {
    }

    void readMessage(GMimeMessage *message, int depth)
    {
        addLine(g_mime_message_get_subject(message));
        addPeople(g_mime_message_get_from(message));
        addPeople(g_mime_message_get_to(message));
        addPeople(g_mime_message_get_cc(message));
        if (auto *part = g_mime_message_get_mime_part(message))
            readPart(part, depth + 1);
    }

private:
    void addLine(const char *text)
    {
        if (text)
            _sink.appendCollapsed(text);
        _sink.separate('\n');
    }

    void addPeople(InternetAddressList *people)
    {
        const OwnedText text(
            people ? internet_address_list_to_string(people, nullptr, FALSE) : nullptr);
        addLine(text.get());
    }

    void readPart(GMimeObject *object, int depth)
    {
        if (depth > maxDepth) {
            _sink.markCut();
            return;
        }
        if (_sink.isFull())
            return;
        if (auto *multipart = cast<GMimeMultipart>(object, GMIME_TYPE_MULTIPART))
            readMultipart(multipart, depth);
        else if (auto *nested = cast<GMimeMessagePart>(object, GMIME_TYPE_MESSAGE_PART))
            readNested(nested, depth);
        else if (auto *part = cast<GMimePart>(object, GMIME_TYPE_PART))
            readLeaf(part);
    }

    void readNested(GMimeMessagePart *part, int depth)
    {
        if (auto *message = g_mime_message_part_get_message(part))
            readMessage(message, depth);
    }

    /// Of alternatives that say the same the plain text is enough.
    void readMultipart(GMimeMultipart *multipart, int depth)
    {
        auto *type = g_mime_object_get_content_type(GMIME_OBJECT(multipart));
        const bool areAlternatives = g_mime_content_type_is_type(type, "multipart", "alternative");
        const int count = g_mime_multipart_get_count(multipart);
        for (int i = 0; i < count && areAlternatives; ++i) {
            auto *part = g_mime_multipart_get_part(multipart, i);
            auto *partType = g_mime_object_get_content_type(part);
            if (g_mime_content_type_is_type(partType, "text", "plain"))
                return readPart(part, depth + 1);
        }
        for (int i = 0; i < count; ++i)
            readPart(g_mime_multipart_get_part(multipart, i), depth + 1);
    }

    void readLeaf(GMimePart *part)
    {
        auto *type = g_mime_object_get_content_type(GMIME_OBJECT(part));
        const bool isText = g_mime_content_type_is_type(type, "text", "*");
        const char *fileName = g_mime_part_get_filename(part);
        if (!isText || fileName || g_mime_part_is_attachment(part))
            return addLine(fileName);
        const auto body = contentOf(part);
        const char *charset = g_mime_content_type_get_parameter(type, "charset");
        const std::string named = charset ? charset : "";
        if (g_mime_content_type_is_type(type, "text", "html"))
            readHtml(body, named, _sink);
        else
            addText(body, named);
        _sink.separate('\n');
    }

    void addText(const std::string &body, const std::string &named)
    {
        auto charset = named;
        if (charset.empty() || charset == "us-ascii" || !isKnownCharset(charset))
            charset = detectedCharset(body).value_or("windows-1252");
        decode(body, charset, [this](std::string_view text) {
            _sink.append(text);
            return !_sink.isFull();
        });
    }

    /// The bytes of the part, its transfer encoding undone.
    static std::string contentOf(GMimePart *part)
    {
        auto *content = g_mime_part_get_content(part);
        if (!content)
            return {};
        const Owned<GMimeStream> stream(g_mime_stream_mem_new());
        g_mime_data_wrapper_write_to_stream(content, stream.get());
        const auto *bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
        return {reinterpret_cast<const char *>(bytes->data), bytes->len};
    }

    TextSink &_sink;
};

/// Some programs write the size on a line of its own before the message.
std::string_view withoutSizeLine(std::string_view bytes)
{
    const auto end = bytes.find_first_not_of("0123456789 ");
    return end != bytes.npos && end > 0 && bytes[end] == '\n' ? bytes.substr(end + 1) : bytes;
}

}  // namespace

wire::Status readMail(Input &input, bool isMailbox, TextSink &sink)
{
    const auto bytes = withoutSizeLine(input.beginning(maxMailBytes));
    if (bytes.empty())
        return wire::Status::refused;
    if (input.size() > maxMailBytes)
        sink.markCut();
    const Owned<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
    const Owned<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    const bool beginsLikeMailbox = bytes.starts_with("From ");
    g_mime_parser_set_format(
        parser.get(), isMailbox || beginsLikeMailbox ? GMIME_FORMAT_MBOX : GMIME_FORMAT_MESSAGE);
    MessageReader reader(sink);
    do {
        const Owned<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), nullptr));
        if (!message)
            break;
        reader.readMessage(message.get(), 0);
    } while (isMailbox && !sink.isFullNow() && !g_mime_parser_eos(parser.get()));
    return sink.hasText() ? wire::Status::text : wire::Status::noText;
}

void prepareMail()
{
    // Headers are decoded through iconv, which loads a module for each set when it is first used.
    static constexpr std::array charsets{"ISO-8859-1", "ISO-8859-2", "ISO-8859-3", "ISO-8859-4",
        "ISO-8859-5", "ISO-8859-6", "ISO-8859-7", "ISO-8859-8", "ISO-8859-9", "ISO-8859-10",
        "ISO-8859-13", "ISO-8859-14", "ISO-8859-15", "CP1250", "CP1251", "CP1252", "CP1253",
        "CP1254", "CP1255", "CP1256", "CP1257", "CP1258", "KOI8-R", "KOI8-U", "CP866", "SHIFT_JIS",
        "EUC-JP", "ISO-2022-JP", "GB2312", "GBK", "GB18030", "BIG5", "EUC-KR", "TIS-620", "UTF-16",
        "UTF-7"};
    // A module stays loaded while somebody uses it.
    static std::array<iconv_t, charsets.size()> keptOpen;
    for (std::size_t i = 0; i < charsets.size(); ++i)
        keptOpen[i] = ::iconv_open("UTF-8", charsets[i]);
    g_mime_init();
}

}  // namespace vellumhound::extract::helper
