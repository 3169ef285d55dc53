// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariantMap>

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
/// A menu of ours opens and has closed.
inline constexpr char16_t NSMenuDidBeginTrackingNotification[] =
    u"NSMenuDidBeginTrackingNotification";
inline constexpr char16_t NSMenuDidEndTrackingNotification[] = u"NSMenuDidEndTrackingNotification";
/// Carries the entry "name", a KeyboardShortcuts::Name.
inline constexpr char16_t KeyboardShortcuts_shortcutByNameDidChange[] =
    u"KeyboardShortcuts_shortcutByNameDidChange";
/// Carries the entry "isActive", whether a recorder has the keyboard.
inline constexpr char16_t KeyboardShortcuts_recorderActiveStatusDidChange[] =
    u"KeyboardShortcuts_recorderActiveStatusDidChange";
}  // namespace Notifications

/// Carries named notifications from whoever posts them to whoever observes, in the same turn and in
/// the order of registration. Main thread only. Outlives its tokens' users, but a token may outlive
/// it.
class NotificationCenter {
    struct Observer;
    struct Registry;

public:
    /// What a notification carries, entry by entry. Nearly all carry nothing.
    using UserInfo = QVariantMap;

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
    [[nodiscard]] Token addObserver(
        const QString &name, const void *object, std::function<void(const UserInfo &)> handler);
    /// Reaches the observers registered at this moment, except those removed by an earlier one of
    /// them.
    void post(const QString &name, const void *object = nullptr, const UserInfo &userInfo = {});

private:
    std::shared_ptr<Registry> _registry;
};

}  // namespace vellumhound::base
