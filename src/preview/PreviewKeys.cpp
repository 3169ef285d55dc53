// SPDX-License-Identifier: GPL-3.0-or-later
#include "preview/PreviewKeys.h"

namespace vellumhound::preview {

namespace Flags = base::ModifierFlags;

bool handlePreviewKey(
    const base::KeyEvent &event, const core::FilePtr &file, PreviewPanelManager &manager)
{
    if (event.keyCode != base::KeyCode::space)
        return handlePreviewKeyInTextField(event, file, manager);
    const bool isPlain = event.modifiers() == 0;
    if (!file || (!isPlain && event.modifiers() != Flags::option))
        return false;
    if (isPlain && manager.isInFullScreenMode())
        return false;
    if (manager.isVisible())
        manager.hidePreview(!isPlain);
    else
        manager.showPreview(file, !isPlain);
    return true;
}

bool handlePreviewKeyInTextField(
    const base::KeyEvent &event, const core::FilePtr &file, PreviewPanelManager &manager)
{
    const bool isPlain = event.modifiers() == Flags::command;
    if (!file || event.keyCode != base::KeyCode::y)
        return false;
    if (!isPlain && event.modifiers() != (Flags::command | Flags::option))
        return false;
    if (!manager.isVisible())
        manager.showPreview(file, !isPlain);
    else if (isPlain)
        manager.clearPreview();
    else
        manager.hidePreview(true);
    return true;
}

}  // namespace vellumhound::preview
