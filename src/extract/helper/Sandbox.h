// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace vellumhound::extract::helper {

/// The socket to the program that asks.
inline constexpr int requestSocket = 3;

/// Lets everybody else go first: processor and disk only when idle.
void stepBehindOthers();

/// What keeps this process in.
struct Confinement {
    int landlockVersion = 0;  // 0 where the kernel has none
};

/// Takes everything from this process that reading a handed-over file does not need, for good:
/// gains no rights, cannot be looked into, dies with the thread that started it; bounded memory,
/// no written files, no core; of the disk only the tables of the PDF library; of the system calls
/// only those of an allow list, all others fail with EPERM. Messages go through `requestSocket`
/// only. Nothing if the kernel cannot filter system calls: then nothing untrusted must be read.
std::optional<Confinement> confine();

}  // namespace vellumhound::extract::helper
