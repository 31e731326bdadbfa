#include "behaviourlist.h"

#include <algorithm>
#include <iterator>

namespace marksim {

void BehaviourList::assign(std::vector<Behaviour> behaviours)
{
    behaviours_.assign(std::make_move_iterator(behaviours.begin()),
                       std::make_move_iterator(behaviours.end()));
}

void BehaviourList::append(std::vector<Behaviour> behaviours)
{
    std::move(behaviours.begin(), behaviours.end(), std::back_inserter(behaviours_));
}

Connect BehaviourList::door() const
{
    const auto found = std::find_if(behaviours_.begin(), behaviours_.end(), [](const Behaviour& behaviour) {
        return isAtTheDoor(behaviour.connect);
    });
    return found == behaviours_.end() ? Connect::Normal : found->connect;
}

template <typename Fits>
Behaviour BehaviourList::take(Fits fits)
{
    const auto found = std::find_if(behaviours_.begin(), behaviours_.end(), fits);
    if (found == behaviours_.end())
        return {};
    auto taken = *found;
    if (found->times && --*found->times == 0)
        behaviours_.erase(found);
    return taken;
}

Behaviour BehaviourList::takeForConnection()
{
    return take([](const Behaviour& behaviour) { return behaviour.concernsConnections(); });
}

Behaviour BehaviourList::takeForRequest(std::string_view method)
{
    return take([method](const Behaviour& behaviour) {
        return !behaviour.concernsConnections() && (behaviour.method.empty() || behaviour.method == method);
    });
}

QJsonArray BehaviourList::toJson() const
{
    QJsonArray array;
    for (const auto& behaviour : behaviours_)
        array.append(behaviour.toJson());
    return array;
}

}  // namespace marksim
