// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace vellumhound::support {

/// Runs a program to its end, in the environment of the test. False unless it ended well.
inline bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

/// Presses and releases keys, moves the pointer: the words of the xdotool program.
inline bool xdotool(const QStringList &arguments)
{
    return run(QStringLiteral("xdotool"), arguments);
}

}  // namespace vellumhound::support
