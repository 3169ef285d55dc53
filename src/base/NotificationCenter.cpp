// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NotificationCenter.h"

#include <utility>

namespace vellumhound::base {

struct NotificationCenter::Observer {
    QString name;
    const void *object = nullptr;
    std::function<void(const UserInfo &)> handler;
    bool isRemoved = false;
};

struct NotificationCenter::Registry {
    std::vector<std::shared_ptr<Observer>> observers;
};

NotificationCenter::Token::Token(
    std::weak_ptr<Registry> registry, std::shared_ptr<Observer> observer)
    : _registry(std::move(registry))
    , _observer(std::move(observer))
{
}

NotificationCenter::Token &NotificationCenter::Token::operator=(Token &&other) noexcept
{
    if (this != &other) {
        reset();
        _registry = std::exchange(other._registry, {});
        _observer = std::exchange(other._observer, {});
    }
    return *this;
}

NotificationCenter::Token::~Token()
{
    reset();
}

void NotificationCenter::Token::reset()
{
    auto observer = std::exchange(_observer, {});
    if (!observer)
        return;
    observer->isRemoved = true;
    if (auto registry = _registry.lock())
        std::erase(registry->observers, observer);
}

NotificationCenter::NotificationCenter()
    : _registry(std::make_shared<Registry>())
{
}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter::Token NotificationCenter::addObserver(
    const QString &name, const void *object, std::function<void()> handler)
{
    return addObserver(
        name, object, [handler = std::move(handler)](const UserInfo &) { handler(); });
}

NotificationCenter::Token NotificationCenter::addObserver(
    const QString &name, const void *object, std::function<void(const UserInfo &)> handler)
{
    auto observer = std::make_shared<Observer>(Observer{name, object, std::move(handler)});
    _registry->observers.push_back(observer);
    return Token(_registry, std::move(observer));
}

void NotificationCenter::post(const QString &name, const void *object, const UserInfo &userInfo)
{
    const auto present = _registry->observers;  // a handler may add and remove observers
    for (const auto &observer : present) {
        if (observer->isRemoved || observer->name != name)
            continue;
        if (!observer->object || observer->object == object)
            observer->handler(userInfo);
    }
}

}  // namespace vellumhound::base
