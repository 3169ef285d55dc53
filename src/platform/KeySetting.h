// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"

#include <QString>

namespace vellumhound::platform {

/// Writes keys into the desktop's own settings, where the desktop gives them to no program. Main
/// thread.
///
/// These settings are the user's. Only a user who was told what is going to be written, and said
/// yes to it, may lead to a call of set(); nothing else ever does. Entries that are not ours are
/// never touched.
class KeySetting {
public:
    /// What a key is to do. The entry is ours by its name: the same name is the same entry.
    struct Entry {
        QString name;     ///< letters and digits
        QString label;    ///< for the user who looks at the settings
        QString trigger;  ///< the key as this desktop writes it
        QString command;

        bool operator==(const Entry &) const = default;
    };

    virtual ~KeySetting() = default;

    /// False where the desktop has no such settings.
    virtual bool isOffered() const = 0;
    /// Whether the entry of this name is there and has a key.
    virtual bool isSet(const QString &name) const = 0;
    /// Takes effect at once. Fails if the desktop has no such settings or does not let them be
    /// changed; then all is as before.
    virtual base::Outcome set(const Entry &entry) = 0;
    /// Without effect if there is no such entry. Needs no consent.
    virtual void remove(const QString &name) = 0;
};

}  // namespace vellumhound::platform
