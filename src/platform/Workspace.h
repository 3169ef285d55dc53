// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace vellumhound::platform {

/// Hands files over to the desktop. Main thread; a call returns once the desktop has been asked,
/// and whether it accepted comes later through whatever the composition root hung on the
/// implementation.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Opens the file or folder with its default application; an entry of the application folders
    /// is launched.
    virtual void openURL(const QString &path) = 0;
    /// Shows the file, selected, in the file manager; where that cannot be, opens the parent
    /// folder.
    virtual void selectFile(const QString &path, const QString &inFolder) = 0;
};

}  // namespace vellumhound::platform
