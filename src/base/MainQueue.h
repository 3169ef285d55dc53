// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <deque>
#include <functional>

namespace vellumhound::base {

/// The one FIFO of the main thread for everything that takes effect in the next turn: writes of the
/// focus, bodies of started tasks, resumptions of waiting ones. What is posted runs in the order
/// asked.
///
/// Main thread only; made by the composition root, outlives everything that posts. A block posted
/// while the queue drains runs in the same drain, after those posted before it. Whoever must see
/// all effects of what was asked so far (the key path, a test) calls drain().
class MainQueue final : public QObject {
    Q_OBJECT

public:
    explicit MainQueue(QObject *parent = nullptr);
    ~MainQueue() override;

    /// Runs `block` in a later turn of the event loop, or in the next drain().
    void post(std::function<void()> block);
    /// Runs everything posted, including what the blocks post themselves. Inside a running block it
    /// runs what stands behind that block.
    void drain();
    bool isEmpty() const { return _blocks.empty(); }

protected:
    bool event(QEvent *event) override;

private:
    std::deque<std::function<void()>> _blocks;
    bool _isWakeUpPending = false;
};

}  // namespace vellumhound::base
