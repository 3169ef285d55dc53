// SPDX-License-Identifier: GPL-3.0-or-later
// The interfaces have no code of their own; this file makes the library one that can be linked.
#include "platform/Appearance.h"
#include "platform/ApplicationEntries.h"
#include "platform/Clock.h"
#include "platform/DesktopSession.h"
#include "platform/EventQueue.h"
#include "platform/FileSystem.h"
#include "platform/HotKeyCenter.h"
#include "platform/KeyCharacters.h"
#include "platform/MetadataQuery.h"
#include "platform/PowerState.h"
#include "platform/PreviewPanel.h"
#include "platform/Workspace.h"
