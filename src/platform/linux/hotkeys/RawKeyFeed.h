// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HotKeyCenter.h"

#include <QObject>
#include <QSet>

#include <functional>
#include <span>

class QKeyEvent;

namespace vellumhound::platform {

/// The keys on their way to our own windows, our menus among them, as raw key events: for the ways
/// to hot keys that see no key of the desktop themselves. They are seen before any widget; a press
/// that the receiver takes reaches nothing else, nor do its repetitions and, as long as the kinds
/// stay, its release.
///
/// Main thread; owned by its backend, made after the application object and destroyed before it.
class RawKeyFeed final : public QObject {
    Q_OBJECT

public:
    /// Answers as HotKeyCenter::EventHandler::handleEvent does.
    using Receiver = std::function<int(const HotKeyEvent &)>;

    explicit RawKeyFeed(Receiver receiver);
    ~RawKeyFeed() override;

    /// Which kinds the receiver gets, none at first. Other kinds than the raw ones are passed over.
    void addEventTypes(std::span<const int> kinds);
    void removeEventTypes(std::span<const int> kinds);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isTaken(const QKeyEvent &event);
    void update();

    Receiver _receiver;
    QSet<int> _kinds;
    QSet<quint32> _takenKeys;  // native codes of those whose press was taken
    bool _isWatching = false;
};

}  // namespace vellumhound::platform
