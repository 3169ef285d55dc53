// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"
#include "preview/PreviewPanelManager.h"

namespace vellumhound::preview {

/// The keys with which a focused list opens and closes the preview of `file` (Space and Y, with
/// their modifiers). True if the key is taken. Plain Space is not taken while the preview is in
/// full screen.
bool handlePreviewKey(
    const base::KeyEvent &event, const core::FilePtr &file, PreviewPanelManager &manager);

/// The two of them that work in a text field, where Space is text: Command and Y, with or without
/// Option.
bool handlePreviewKeyInTextField(
    const base::KeyEvent &event, const core::FilePtr &file, PreviewPanelManager &manager);

}  // namespace vellumhound::preview
