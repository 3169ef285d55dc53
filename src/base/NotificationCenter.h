// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace vellumhound::base {

/// Names of the process-wide notifications.
namespace Notifications {
inline constexpr char16_t SearchBoxArrowUpKeyEvent[] = u"SearchBoxArrowUpKeyEvent";
inline constexpr char16_t SelectedFilesFromFinderNotification[] =
    u"SelectedFilesFromFinderNotification";
inline constexpr char16_t BrowseFinderWindowsNotification[] = u"BrowseFinderWindowsNotification";
inline constexpr char16_t FloatingPanelDidBecomeKeyNotification[] =
    u"FloatingPanelDidBecomeKeyNotification";
inline constexpr char16_t FloatingPanelDidResignKeyNotification[] =
    u"FloatingPanelDidResignKeyNotification";
inline constexpr char16_t NSMetadataQueryGatheringProgressNotification[] =
    u"NSMetadataQueryGatheringProgressNotification";
inline constexpr char16_t NSMetadataQueryDidFinishGatheringNotification[] =
    u"NSMetadataQueryDidFinishGatheringNotification";
}  // namespace Notifications

/// Carries named notifications from whoever posts them to whoever observes, in the same turn and in
/// the order of registration. Main thread only. Outlives its tokens' users, but a token may outlive
/// it.
class NotificationCenter {
    struct Observer;
    struct Registry;

public:
    /// Ends the observation when destroyed or reset.
    class Token {
    public:
        Token() = default;
        Token(Token &&other) noexcept = default;
        Token &operator=(Token &&other) noexcept;
        ~Token();
        void reset();
        explicit operator bool() const { return bool(_observer); }

    private:
        friend class NotificationCenter;
        Token(std::weak_ptr<Registry> registry, std::shared_ptr<Observer> observer);
        std::weak_ptr<Registry> _registry;
        std::shared_ptr<Observer> _observer;
    };

    NotificationCenter();
    ~NotificationCenter();
    Q_DISABLE_COPY_MOVE(NotificationCenter)

    /// Calls `handler` for each notification `name`. With an `object`, only for those posted by it;
    /// without one, for all.
    [[nodiscard]] Token addObserver(
        const QString &name, const void *object, std::function<void()> handler);
    /// Reaches the observers registered at this moment, except those removed by an earlier one of
    /// them.
    void post(const QString &name, const void *object = nullptr);

private:
    std::shared_ptr<Registry> _registry;
};

}  // namespace vellumhound::base
