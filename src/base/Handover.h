// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

class QSocketNotifier;

namespace vellumhound::base {

/// Wakes the thread that made it, from any thread, through an eventfd. Many wakes before the
/// receiver runs are one call.
class WakeUp final : public QObject {
    Q_OBJECT

public:
    /// `handler` runs on the thread that makes this object, in its event loop.
    explicit WakeUp(std::function<void()> handler, QObject *parent = nullptr);
    ~WakeUp() override;

    /// Any thread.
    void wake() const;

private:
    int _fd = -1;
    std::function<void()> _handler;
    std::unique_ptr<QSocketNotifier> _notifier;
};

/// Values handed from worker threads to the thread that owns the handover, in the order they were
/// put in. A worker holds a Sender, which may outlive the handover: what it sends then is dropped.
template <class T> class Handover {
    struct Shared {
        std::mutex mutex;
        std::vector<T> values;
        const WakeUp *wakeUp = nullptr;  // null once the receiver has gone
    };

public:
    class Sender {
    public:
        void send(T value) const
        {
            const std::lock_guard lock(_shared->mutex);
            if (!_shared->wakeUp)
                return;
            _shared->values.push_back(std::move(value));
            if (_shared->values.size() == 1)
                _shared->wakeUp->wake();
        }

    private:
        friend class Handover;
        explicit Sender(std::shared_ptr<Shared> shared)
            : _shared(std::move(shared))
        {
        }
        std::shared_ptr<Shared> _shared;
    };

    /// `receive` gets one value at a time, on the thread that makes the handover.
    explicit Handover(std::function<void(T)> receive)
        : _shared(std::make_shared<Shared>())
        , _receive(std::move(receive))
        , _wakeUp([this] { deliver(); })
    {
        _shared->wakeUp = &_wakeUp;
    }
    ~Handover()
    {
        const std::lock_guard lock(_shared->mutex);
        _shared->wakeUp = nullptr;
    }
    Q_DISABLE_COPY_MOVE(Handover)

    Sender sender() const { return Sender(_shared); }
    /// Hands out everything sent so far, now. The owner's thread only. A receiver may destroy the
    /// handover.
    void deliver()
    {
        std::vector<T> values;
        {
            const std::lock_guard lock(_shared->mutex);
            values.swap(_shared->values);
        }
        const auto alive = _alive;
        const auto receive = _receive;
        for (auto &value : values) {
            if (!*alive)
                return;
            receive(std::move(value));
        }
    }

private:
    struct Alive {
        std::shared_ptr<bool> flag = std::make_shared<bool>(true);
        ~Alive() { *flag = false; }
        operator std::shared_ptr<bool>() const { return flag; }
    };

    std::shared_ptr<Shared> _shared;
    std::function<void(T)> _receive;
    Alive _aliveOwner;
    std::shared_ptr<bool> _alive = _aliveOwner;
    WakeUp _wakeUp;
};

}  // namespace vellumhound::base
