// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/File.h"

#include <QList>
#include <QString>

namespace vellumhound::finder {

/// What the panel asks of the desktop's file manager. Main thread; each call blocks for as long as
/// the file manager takes, and a failure is an empty list or no effect.
class FinderManager {
public:
    virtual ~FinderManager();

    virtual QList<core::FilePtr> getSelectedFiles() = 0;
    virtual QList<core::FilePtr> getFinderWindows() = 0;
    virtual void closeFinderWindow(const QString &path) = 0;
    virtual void closeAllFinderWindows() = 0;
};

/// Where there is no file manager to ask: nothing selected, no windows.
class NullFinderManager final : public FinderManager {
public:
    QList<core::FilePtr> getSelectedFiles() override { return {}; }
    QList<core::FilePtr> getFinderWindows() override { return {}; }
    void closeFinderWindow(const QString &) override {}
    void closeAllFinderWindows() override {}
};

}  // namespace vellumhound::finder
