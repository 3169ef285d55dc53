// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/Extraction.h"
#include "extract/FileFormat.h"
#include "extract/HelperProcess.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vellumhound::extract {

/// Where the helper of this program is: beside it in the build tree, in ../libexec/vellumhound once
/// installed. The place where it would be installed if it is in neither.
std::string pathOfHelper();

/// Reads the text of files. The reading is done by a helper process, which is confined, serves many
/// files after each other and is replaced when a file brings it down: such a file costs its own
/// text and nothing else. One thread at a time calls `extract`, and blocks; it should be one that
/// lives on, as the helper ends with the thread that started it (the next call starts another).
class TextExtractor {
public:
    struct Settings {
        std::string helperPath = pathOfHelper();
        /// After so many files, or with so much memory at its highest, the helper is replaced.
        unsigned filesPerHelper = 500;
        std::uint64_t helperMemoryKiB = 400 * 1024;
        /// What a helper has to get ready.
        std::chrono::milliseconds startTime{20'000};
        std::function<HelperProcess::Clock::time_point()> now = &HelperProcess::Clock::now;
    };

    TextExtractor();
    explicit TextExtractor(Settings settings);
    ~TextExtractor();
    TextExtractor(const TextExtractor &) = delete;
    TextExtractor &operator=(const TextExtractor &) = delete;

    /// The text of an open file. `descriptor` must be readable and stays the caller's; its offset
    /// is neither used nor moved. Only the name's extension counts. Every failure is an outcome.
    Extraction extract(int descriptor, std::string_view fileName, const Limits &limits = {});
    /// Whether it is worth opening a file of this name. Any thread.
    static bool mayHoldText(std::string_view fileName);
    /// From any thread: the extraction under way and all later ones end as cancelled.
    void cancel();

private:
    struct Answer;

    std::optional<Extraction> refusedBeforehand(
        int descriptor, FileFormat format, const Limits &limits) const;
    Outcome makeReady();
    bool isWornOut() const;
    Outcome waitForHello(HelperProcess &helper) const;
    void noteFailedStart(const std::string &reason);
    bool sendRequest(int descriptor, FileFormat format, const Limits &limits);
    Extraction readAnswer(FileFormat format, const Limits &limits);
    Extraction failed(Outcome outcome, FileFormat format, const char *what);
    Extraction finished(Answer &answer, const wire::End &end);

    Settings _settings;
    std::unique_ptr<HelperProcess> _helper;
    std::uint64_t _request = 0;
    unsigned _filesServed = 0;
    unsigned _failedStarts = 0;                   // in a row
    HelperProcess::Clock::time_point _nextStart;  // not before, after failed starts
    mutable bool _hasToldOfConfinement = false;
    int _cancelDescriptor = -1;  // an eventfd, readable once cancelled
};

}  // namespace vellumhound::extract
