// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>

namespace vellumhound::platform {

/// Makes this the one running instance, which others reach over the session bus by
/// org.freedesktop.Application. Without a session bus it is simply not reachable, and it is told
/// when the bus ends before the program does.
///
/// Main thread; owned by the composition root. Before a handler runs, the caller's permission to
/// take the focus has been taken over.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    struct Handlers {
        std::function<void()> activate;
        std::function<void(const QStringList &uris)> open;
        std::function<void()> browseWindows;
        std::function<void()> selectedFiles;
        std::function<void()> settings;
        std::function<void()> quit;
    };
    enum class Claim { won, lost, withoutBus };

    /// Asks an instance that already runs to present itself, and hands it our permission to take
    /// the focus. True if one did. To be called before there is an application object; it waits
    /// three seconds at most and leaves nothing behind.
    static bool handOver();

    explicit SingleInstance(Handlers handlers);
    ~SingleInstance() override;

    /// Takes the name. `lost` means that another instance was faster: hand over and end.
    Claim claim(QDBusConnection bus);

private Q_SLOTS:
    void noticeEndOfBus() const;

private:
    Handlers _handlers;
};

}  // namespace vellumhound::platform
