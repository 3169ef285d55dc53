// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace vellumhound::support {

/// Catches what the process writes to standard output while it lives. Ask for the text before any
/// check that may fail, so that the test's own report is not caught too.
class CapturedOutput {
public:
    CapturedOutput()
        : _file(std::tmpfile())
    {
        if (!_file)
            std::abort();
        std::fflush(stdout);
        _kept = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        ::dup2(::fileno(_file), STDOUT_FILENO);
    }
    ~CapturedOutput()
    {
        giveBack();
        std::fclose(_file);
    }
    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    /// Gives standard output back; all that was written since the beginning.
    QByteArray text()
    {
        giveBack();
        QByteArray text;
        char buffer[4096];
        ::lseek(::fileno(_file), 0, SEEK_SET);
        for (auto n = ::read(::fileno(_file), buffer, sizeof buffer); n > 0;
             n = ::read(::fileno(_file), buffer, sizeof buffer))
            text.append(buffer, n);
        return text;
    }

private:
    void giveBack()
    {
        if (_kept < 0)
            return;
        std::fflush(stdout);
        ::dup2(_kept, STDOUT_FILENO);
        ::close(_kept);
        _kept = -1;
    }

    std::FILE *_file;
    int _kept = -1;
};

}  // namespace vellumhound::support
