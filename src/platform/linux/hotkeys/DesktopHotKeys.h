// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/hotkeys/HotKeyBackend.h"

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace vellumhound::platform {

/// The hot keys of a desktop that may have several ways to them, the best first. All requests go to
/// the first way that is there, once none before it can still turn out to be; when it goes, or a
/// better one comes, they move. Where none is there they are kept for one that comes later.
///
/// Main thread. Owned by the composition root.
class DesktopHotKeys final : public HotKeyCenter, private HotKeyCenter::EventHandler {
public:
    using EventHandler = HotKeyCenter::EventHandler;

    explicit DesktopHotKeys(std::vector<std::unique_ptr<HotKeyBackend>> backends);
    ~DesktopHotKeys() override;
    Q_DISABLE_COPY_MOVE(DesktopHotKeys)

    /// False once every way has turned out to be absent. A request is kept all the same.
    bool isSupported() const override;
    Registration registerHotKey(const HotKeyRequest &request) override;
    void unregisterHotKey(Handle handle) override;
    HotKeyReport report(const QString &name) const override;

private:
    struct Request {
        HotKeyRequest request;
        std::optional<Handle> handle;  // of the backend in use
    };

    int handleEvent(const HotKeyEvent *event) override;
    void registrationRefused(HotKeyId id, int status) override;
    void keyboardChanged() override;

    void choose();
    void moveTo(HotKeyBackend *backend);

    std::vector<std::unique_ptr<HotKeyBackend>> _backends;
    HotKeyBackend *_current = nullptr;  // absent while none is there, or it is not known yet
    bool _isLackTold = false;           // the log says already that there is none
    std::map<Handle, Request> _requests;
};

}  // namespace vellumhound::platform
