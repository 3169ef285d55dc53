// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/TemporaryTree.h"

#include <filesystem>
#include <sys/types.h>
#include <unistd.h>

namespace vellumhound::tests {

/// Somebody who may not read everything, for as long as this lives; owns the tree's top folders.
class OrdinaryUser {
public:
    explicit OrdinaryUser(const TemporaryTree &tree)
        : _former(::geteuid())
    {
        constexpr uid_t nobody = 65534;
        if (_former != 0)
            return;
        for (const auto &entry : std::filesystem::directory_iterator(tree.path()))
            [[maybe_unused]] const int failed = ::chown(entry.path().c_str(), nobody, gid_t(-1));
        [[maybe_unused]] const int refused =
            ::chown(tree.path().c_str(), nobody, gid_t(-1)) + ::seteuid(nobody);
    }
    ~OrdinaryUser() { [[maybe_unused]] const int refused = ::seteuid(_former); }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    const uid_t _former;
};

}  // namespace vellumhound::tests
