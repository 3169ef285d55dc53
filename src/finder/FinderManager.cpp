// SPDX-License-Identifier: GPL-3.0-or-later
#include "finder/FinderManager.h"

namespace vellumhound::finder {

FinderManager::~FinderManager() = default;

}  // namespace vellumhound::finder
