// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Color.h"

#include <QStringView>

namespace vellumhound::ui {

/// A colour from a hexadecimal text: "RGB", "RRGGBB" or "AARRGGBB" with anything around it that is
/// neither letter nor digit ("#303030"). A text of any other length is opaque black; the digits
/// are read up to the first character that is none.
base::Color colorFromHex(QStringView text);

/// The fill of a prominent button in each appearance, "#FAF9F6" and "#303030".
const base::Color &lightThemeColor();
const base::Color &darkThemeColor();

}  // namespace vellumhound::ui
