// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/FileBrowserModel.h"

#include <optional>

namespace vellumhound::actions {

/// The line under the palette that says which file the actions apply to: a divider and, below it,
/// the file's simple header.
struct SelectedFilesDescription {
    core::FilePtr file;
    bool hasDivider = true;

    bool operator==(const SelectedFilesDescription &) const = default;
};

/// Pure: the line, or nothing, which takes no room.
std::optional<SelectedFilesDescription> describeSelectedFiles(
    bool showActions, const core::FilePtr &selectedFile);

/// Toolkit-free; main thread. The model outlives it.
class SelectedFilesView {
public:
    explicit SelectedFilesView(const core::FileBrowserModel &model)
        : _model(model)
    {
    }
    std::optional<SelectedFilesDescription> description() const;

private:
    const core::FileBrowserModel &_model;
};

}  // namespace vellumhound::actions
