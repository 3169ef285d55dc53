// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StartLine.h"

#include "base/BundleInfo.h"

#include <cstdio>
#include <utility>

namespace vellumhound::app {

using namespace Qt::StringLiterals;
using State = keyboard::HotKeyDescription::State;

QString startLine(const keyboard::HotKeyDescription &key)
{
    const auto program = u"Vellumhound "_s + base::mainBundle().shortVersion;
    if (key.state == State::active)
        return u"%1 runs; %2 brings up its panel."_s.arg(program, key.trigger);
    return u"%1 runs; starting it again brings up its panel. %2"_s.arg(program, key.sentence);
}

StartLine::StartLine(
    keyboard::HotKeyStatus &status, keyboard::KeyboardShortcuts::Name name, base::Timer &timer)
    : _status(status)
    , _name(std::move(name))
{
    const auto writeIfAnswered = [this] {
        if (_status.description(_name).state != State::waiting)
            writeOnce();
    };
    connect(&_status, &keyboard::HotKeyStatus::changed, this, writeIfAnswered);
    _wait = timer.after(patience, [this] { writeOnce(); });
    _status.refresh();
    writeIfAnswered();
}

void StartLine::writeOnce()
{
    if (std::exchange(_isWritten, true))
        return;
    _wait.reset();
    const auto line = startLine(_status.description(_name)).toUtf8() + '\n';
    std::fwrite(line.constData(), 1, std::size_t(line.size()), stdout);
    std::fflush(stdout);
}

}  // namespace vellumhound::app
