// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <utility>

namespace vellumhound::base {

namespace {
constexpr auto wakeUp = QEvent::Type(QEvent::User + 1);
}

MainQueue::MainQueue(QObject *parent)
    : QObject(parent)
{
}

MainQueue::~MainQueue() = default;

void MainQueue::post(std::function<void()> block)
{
    Q_ASSERT(QThread::currentThread() == thread());
    _blocks.push_back(std::move(block));
    if (!std::exchange(_isWakeUpPending, true))
        QCoreApplication::postEvent(this, new QEvent(wakeUp));
}

void MainQueue::drain()
{
    while (!_blocks.empty()) {
        auto block = std::move(_blocks.front());
        _blocks.pop_front();
        block();
    }
}

bool MainQueue::event(QEvent *event)
{
    if (event->type() != wakeUp)
        return QObject::event(event);
    _isWakeUpPending = false;
    drain();
    return true;
}

}  // namespace vellumhound::base
