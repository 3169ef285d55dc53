// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string_view>

namespace vellumhound::base {

/// File names are bytes, paths in this system are text. A byte that is no part of valid UTF-8
/// stands in the text as the lone surrogate U+DC80 plus the byte's low seven bits, so that every
/// name makes the round trip. All system calls on a path go through these two.
QString pathFromBytes(std::string_view bytes);
QByteArray pathToBytes(const QString &path);

/// The path as it may be put on screen or read aloud: undecodable bytes become U+FFFD, and line
/// breaks and other control characters as well as bidirectional controls become U+FFFD too, so that
/// a hostile name can neither break a row nor pose as another name.
QString printablePath(const QString &path);

/// `component` behind `path` with exactly one slash between; an empty component gives `path`
/// without its trailing slash ("/" stays).
QString appendingPathComponent(const QString &path, const QString &component);
/// The text behind the last slash, trailing slashes not counted; "/" for the root.
QString lastPathComponent(const QString &path);
/// The path without its last component, without trailing slash; "/" stays.
QString deletingLastPathComponent(const QString &path);
/// The components of an absolute path with "." and ".." resolved in the text (links are not
/// followed), "/" first.
QStringList standardizedComponents(const QString &path);

/// $HOME if it is absolute, else the user database's entry; without trailing slash. Read once.
const QString &homeDirectoryPath();
/// The folder that `variable` of the environment names ("XDG_CONFIG_HOME") if it is absolute, else
/// `fallback` in the home directory. Read at each call.
QString baseDirectory(const char *variable, const QString &fallback);
/// A leading tilde becomes the home directory with the rest of the text appended as a component
/// ("~other" becomes the folder "other" there). Any other text is given back as it is.
QString expandTilde(const QString &path);

}  // namespace vellumhound::base
