// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

namespace vellumhound::platform {

/// How a program that we start is to be started.
struct LaunchOptions {
    QByteArray activationToken;   ///< lets it take the focus; empty for none
    QByteArrayList ownVariables;  ///< environment variables that are ours alone
};

// These block for as long as the disk and the session bus take: for worker threads. Programs run in
// a session of their own, with their output thrown away, and outlive us.

/// Opens the file or folder with its default application. False if there is none or it could not be
/// started.
bool launchDefaultApplication(const QString &path, const LaunchOptions &options);
/// Starts the application whose desktop entry lies at `path`. False if the entry or its program is
/// not there.
bool launchDesktopEntry(const QString &path, const LaunchOptions &options);
/// Id of the desktop entry that opens folders ("org.kde.dolphin.desktop"), empty for none.
QString defaultFileManagerId();
/// file:// address of any path, byte for byte.
QString fileUri(const QString &path);

}  // namespace vellumhound::platform
