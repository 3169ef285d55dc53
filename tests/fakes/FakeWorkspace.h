// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Workspace.h"

#include <QList>
#include <QStringList>

#include <utility>

namespace vellumhound::fakes {

/// Remembers what was handed over.
class FakeWorkspace final : public platform::Workspace {
public:
    void openURL(const QString &path) override { opened.append(path); }
    void selectFile(const QString &path, const QString &inFolder) override
    {
        selected.append({path, inFolder});
    }

    QStringList opened;
    QList<std::pair<QString, QString>> selected;  ///< path and the folder it was to be shown in
};

}  // namespace vellumhound::fakes
