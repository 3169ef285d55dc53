// SPDX-License-Identifier: GPL-3.0-or-later
#include "actions/SelectedFilesView.h"

namespace vellumhound::actions {

std::optional<SelectedFilesDescription> describeSelectedFiles(
    bool showActions, const core::FilePtr &selectedFile)
{
    if (!showActions || !selectedFile)
        return std::nullopt;
    return SelectedFilesDescription{selectedFile};
}

std::optional<SelectedFilesDescription> SelectedFilesView::description() const
{
    return describeSelectedFiles(_model.showActions(), _model.selectedFile());
}

}  // namespace vellumhound::actions
