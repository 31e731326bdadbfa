#include "behaviourlist.h"

#include <algorithm>
#include <iterator>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

QJsonObject withoutTimes(const Behaviour& behaviour)
{
    auto source = behaviour.source;
    source.remove("times"_L1);
    return source;
}

}  // namespace

void BehaviourList::assign(std::vector<Behaviour> behaviours)
{
    behaviours_.assign(std::make_move_iterator(behaviours.begin()),
                       std::make_move_iterator(behaviours.end()));
}

void BehaviourList::append(std::vector<Behaviour> behaviours)
{
    std::move(behaviours.begin(), behaviours.end(), std::back_inserter(behaviours_));
}

void BehaviourList::prepend(std::vector<Behaviour> behaviours)
{
    behaviours_.insert(behaviours_.begin(), std::make_move_iterator(behaviours.begin()),
                       std::make_move_iterator(behaviours.end()));
}

void BehaviourList::remove(const std::vector<Behaviour>& behaviours)
{
    std::erase_if(behaviours_, [&behaviours](const Behaviour& listed) {
        return std::ranges::any_of(behaviours, [&listed](const Behaviour& given) {
            return withoutTimes(given) == withoutTimes(listed);
        });
    });
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
