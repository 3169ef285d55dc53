// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeySetting.h"

#include <QMap>

namespace vellumhound::fakes {

/// Settings of a desktop in memory.
class FakeKeySetting final : public platform::KeySetting {
public:
    bool isOffered() const override { return isThere; }
    bool isSet(const QString &name) const override { return entries.contains(name); }
    base::Outcome set(const Entry &entry) override
    {
        if (!isThere)
            return base::Error{QStringLiteral("no such settings")};
        entries.insert(entry.name, entry);
        return std::monostate();
    }
    void remove(const QString &name) override { entries.remove(name); }

    bool isThere = true;
    QMap<QString, Entry> entries;
};

}  // namespace vellumhound::fakes
