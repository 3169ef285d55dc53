// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/TextExtractor.h"

#include "extract/Logging.h"
#include "extract/Secrets.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <system_error>
#include <unicode/utf8.h>
#include <unistd.h>

namespace vellumhound::extract {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Wait = HelperProcess::Wait;

/// Far below the limit that a helper sets itself, so that no file meets that limit.
constexpr seconds mostCpuTimeOfOneHelper{600};

std::string folderOfProgram()
{
    std::array<char, 4096> path{};
    const auto size = ::readlink("/proc/self/exe", path.data(), path.size());
    const std::string program(path.data(), std::size_t(std::max<ssize_t>(size, 0)));
    return program.substr(0, program.rfind('/') + 1);
}

bool isValidUtf8(std::string_view text)
{
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(text.data());
    const auto size = std::ptrdiff_t(text.size());
    for (std::ptrdiff_t i = 0; i < size;) {
        if (bytes[i] < 0x80) {
            ++i;
            continue;
        }
        UChar32 c = 0;
        U8_NEXT(bytes, i, size, c);
        if (c < 0)
            return false;
    }
    return true;
}

bool isReadable(int descriptor)
{
    pollfd wait{descriptor, POLLIN, 0};
    return ::poll(&wait, 1, 0) > 0;
}

/// The pause after that many failed starts in a row: 1 s, doubled each time, at most five minutes.
milliseconds pauseAfter(unsigned failedStarts)
{
    const auto doublings = std::min(failedStarts - 1, 9u);
    return std::min<milliseconds>(seconds(1u << doublings), seconds(300));
}

Outcome outcomeOf(wire::Status status)
{
    switch (status) {
    case wire::Status::text:
        return Outcome::text;
    case wire::Status::noText:
        return Outcome::noText;
    case wire::Status::tooLarge:
        return Outcome::tooLarge;
    case wire::Status::encrypted:
        return Outcome::encrypted;
    case wire::Status::unreadable:
        return Outcome::unreadable;
    case wire::Status::refused:
    case wire::Status::unknownRequest:
        break;
    }
    return Outcome::refused;
}

}  // namespace

std::string pathOfHelper()
{
    const auto folder = folderOfProgram();
    auto beside = folder + "vellumhound-extract";
    if (::access(beside.c_str(), X_OK) == 0)
        return beside;
    return folder + "../libexec/vellumhound/vellumhound-extract";
}

struct TextExtractor::Answer {
    std::string text;
    std::uint64_t maxTextBytes = 0;
};

TextExtractor::TextExtractor()
    : TextExtractor(Settings())
{
}

TextExtractor::TextExtractor(Settings settings)
    : _settings(std::move(settings))
    , _cancelDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

TextExtractor::~TextExtractor()
{
    if (_cancelDescriptor >= 0)
        ::close(_cancelDescriptor);
}

bool TextExtractor::mayHoldText(std::string_view fileName)
{
    return formatOf(fileName) != FileFormat::none;
}

void TextExtractor::cancel()
{
    ::eventfd_write(_cancelDescriptor, 1);
}

Extraction TextExtractor::extract(int descriptor, std::string_view fileName, const Limits &limits)
{
    const auto format = formatOf(fileName);
    if (const auto refused = refusedBeforehand(descriptor, format, limits))
        return *refused;
    const auto readiness = makeReady();
    if (readiness != Outcome::text)
        return {readiness, {}, false};
    if (!sendRequest(descriptor, format, limits))
        return failed(Outcome::crashed, format, "it did not take the file");
    return readAnswer(format, limits);
}

std::optional<Extraction> TextExtractor::refusedBeforehand(
    int descriptor, FileFormat format, const Limits &limits) const
{
    struct stat status {};
    if (format == FileFormat::none)
        return Extraction{Outcome::noText, {}, false};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return Extraction{Outcome::refused, {}, false};
    if (status.st_size == 0)
        return Extraction{Outcome::noText, {}, false};
    // The beginning of a long log is worth having; of the others the beginning alone says nothing.
    if (format != FileFormat::plainText && std::uint64_t(status.st_size) > limits.maxInputBytes)
        return Extraction{Outcome::tooLarge, {}, false};
    return std::nullopt;
}

/// `text` if a helper waits for a request; otherwise why there is none.
Outcome TextExtractor::makeReady()
{
    if (isReadable(_cancelDescriptor))
        return Outcome::cancelled;
    // One that died between two files did not die of the next.
    if (_helper && (isWornOut() || !_helper->isIdle()))
        _helper.reset();
    if (_helper)
        return Outcome::text;
    if (_failedStarts > 0 && _settings.now() < _nextStart)
        return Outcome::unavailable;
    auto helper = HelperProcess::start(_settings.helperPath);
    if (!helper) {
        noteFailedStart(std::generic_category().message(errno));
        return Outcome::unavailable;
    }
    const auto hello = waitForHello(*helper);
    if (hello == Outcome::crashed) {
        noteFailedStart("it did not get ready, " + helper->end());
        return Outcome::unavailable;
    }
    if (hello != Outcome::text)
        return hello;
    _helper = std::move(helper);
    _filesServed = 0;
    _failedStarts = 0;
    return Outcome::text;
}

bool TextExtractor::isWornOut() const
{
    return _filesServed >= _settings.filesPerHelper || _helper->cpuTime() >= mostCpuTimeOfOneHelper;
}

Outcome TextExtractor::waitForHello(HelperProcess &helper) const
{
    wire::Frame frame;
    const auto deadline = helper.deadlineIn(_settings.startTime, _settings.startTime);
    const auto wait = helper.receive(frame, deadline, _cancelDescriptor);
    if (wait == Wait::cancelled)
        return Outcome::cancelled;
    const auto hello = frame.as<wire::Hello>();
    if (wait != Wait::frame || frame.header.kind != wire::FrameKind::hello || !hello)
        return Outcome::crashed;
    if (!_hasToldOfConfinement) {
        _hasToldOfConfinement = true;
        if (hello->landlockVersion == 0)
            qCWarning(logExtract,
                "this kernel has no landlock: the helper is confined by its system calls alone");
    }
    return Outcome::text;
}

void TextExtractor::noteFailedStart(const std::string &reason)
{
    if (_failedStarts++ == 0)
        qCWarning(logExtract, "the text of files is not read: the helper does not start: %s",
            reason.c_str());
    _nextStart = _settings.now() + pauseAfter(_failedStarts);
}

bool TextExtractor::sendRequest(int descriptor, FileFormat format, const Limits &limits)
{
    wire::ReadText request;
    request.format = std::uint32_t(format);
    request.maxInputBytes = limits.maxInputBytes;
    request.maxTextBytes = limits.maxTextBytes;
    request.cpuMilliseconds = std::uint64_t(limits.cpuTime.count());
    ++_filesServed;
    return _helper->send(wire::FrameKind::readText, ++_request, wire::bytesOf(request), descriptor);
}

Extraction TextExtractor::readAnswer(FileFormat format, const Limits &limits)
{
    const auto deadline = _helper->deadlineIn(limits.wallTime, limits.cpuTime);
    Answer answer;
    answer.maxTextBytes = limits.maxTextBytes;
    for (;;) {
        wire::Frame frame;
        switch (_helper->receive(frame, deadline, _cancelDescriptor)) {
        case Wait::closed:
            return failed(Outcome::crashed, format, "it ended");
        case Wait::nonsense:
            return failed(Outcome::crashed, format, "its answer makes no sense");
        case Wait::timedOut:
            return failed(Outcome::timedOut, format, "it took too long");
        case Wait::cancelled:
            return failed(Outcome::cancelled, format, nullptr);
        case Wait::frame:
            break;
        }
        if (frame.header.request != _request)
            return failed(Outcome::crashed, format, "it answers another question");
        if (frame.header.kind == wire::FrameKind::chunk) {
            if (answer.text.size() + frame.body.size() > answer.maxTextBytes)
                return failed(Outcome::crashed, format, "it sends more than was allowed");
            answer.text += frame.body;
            continue;
        }
        const auto end = frame.as<wire::End>();
        if (frame.header.kind != wire::FrameKind::end || !end || end->status > wire::Status::last ||
            end->sentBytes != answer.text.size() || !isValidUtf8(answer.text))
            return failed(Outcome::crashed, format, "its answer makes no sense");
        return finished(answer, *end);
    }
}

/// The helper has lost our trust and goes. `what` is for the log; null tells nothing.
Extraction TextExtractor::failed(Outcome outcome, FileFormat format, const char *what)
{
    const auto how = _helper->end();
    _helper.reset();
    if (what)
        qCWarning(logExtract, "the helper gave up a file of format %u: %s (%s)", unsigned(format),
            what, how.c_str());
    return {outcome, {}, false};
}

Extraction TextExtractor::finished(Answer &answer, const wire::End &end)
{
    if (end.peakMemoryKiB > _settings.helperMemoryKiB)
        _helper.reset();
    auto outcome = outcomeOf(end.status);
    if (outcome == Outcome::text && answer.text.empty())
        outcome = Outcome::noText;
    if (outcome == Outcome::text && holdsSecret(answer.text))
        outcome = Outcome::secret;
    if (outcome != Outcome::text)
        return {outcome, {}, false};
    return {outcome, std::move(answer.text), end.isCut != 0};
}

}  // namespace vellumhound::extract
