// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/RawKeyFeed.h"

#include <QObject>
#include <QSet>

#include <memory>

class QKeyEvent;

namespace vellumhound::platform {

class KeyboardLayout;

/// The keys that the toolkit gets from the window system, seen when they reach a window and before
/// any widget. When the receiver takes a press, its repetitions and, as long as the feed runs, its
/// release reach nothing else either.
///
/// Main thread; made after the application object and destroyed before it. Looks at nothing while
/// it is stopped.
class WindowKeyFeed final : public QObject, public RawKeyFeed {
    Q_OBJECT

public:
    explicit WindowKeyFeed(std::shared_ptr<const KeyboardLayout> layout);
    ~WindowKeyFeed() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void runningChanged() override;
    bool isTaken(const QKeyEvent &event);

    std::shared_ptr<const KeyboardLayout> _layout;
    QSet<quint32> _takenKeys;  // native codes of those whose press was taken
    bool _isWatching = false;
};

}  // namespace vellumhound::platform
