#include "stand/faults/behaviours.h"

#include "stand/faults/connectionfaults.h"
#include "stand/http/upstream.h"
#include "stand/scenario/schema.h"

#include <QSet>
#include <algorithm>
#include <stdexcept>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

Behaviour withoutTimes(Behaviour behaviour)
{
    behaviour.remove("times"_L1);
    return behaviour;
}

Behaviour readBehaviour(const QJsonValue& value, const QString& where)
{
    validate(value, where, "behaviour"_L1);
    const auto behaviour = value.toObject();
    for (const auto& [key, other] :
         {std::pair("text"_L1, "body"_L1), {"rawBase64"_L1, "raw"_L1}, {"answers"_L1, "proxy"_L1}}) {
        if (behaviour.contains(key) && behaviour.contains(other)) {
            throw InputError(u"%1.%2: cannot stand beside \"%3\""_s.arg(where, key, other));
        }
    }
    if (const auto proxy = behaviour["proxy"_L1].toString();
        !proxy.isEmpty() && !isServerAddress(proxy.toStdString())) {
        throw InputError(u"%1.proxy: must be an address such as \"https://host:8443/path\""_s.arg(where));
    }
    checkConnectionAlone(behaviour, where);
    return behaviour;
}

bool fits(const Behaviour& behaviour, QLatin1String method)
{
    const auto wanted = behaviour["method"_L1].toString(u"all"_s);
    return !concernsConnections(behaviour) && (wanted == "all"_L1 || wanted == method);
}

template <typename Fits>
Behaviour take(Behaviours& behaviours, Fits fits)
{
    const auto found = std::ranges::find_if(behaviours, fits);
    if (found == behaviours.end()) {
        return {};
    }
    const auto taken = *found;
    if (const auto times = taken["times"_L1].toInt(); times > 1) {
        found->insert("times"_L1, times - 1);
    } else if (times == 1) {
        behaviours.erase(found);
    }
    return taken;
}

QString namesIn(const QStringList& keys)
{
    return keys.isEmpty() ? u"none"_s : keys.join(u", "_s);
}

}  // namespace

void checkFaultsAreDescribed()
{
    QSet<QString> keys{u"method"_s, u"times"_s, u"connect"_s, u"certificate"_s, u"answers"_s, u"proxy"_s};
    for (const auto faults : {replacements(), bodyFaults(), deliveryFaults()}) {
        for (const auto& fault : faults) {
            keys << fault.key;
        }
    }
    const auto list = keysOf("behaviour"_L1);
    const QSet<QString> described(list.begin(), list.end());
    const auto rowless = (described - keys).values(), undescribed = (keys - described).values();
    if (!rowless.isEmpty() || !undescribed.isEmpty()) {
        throw std::logic_error(
            u"faults that are described, but have no row: %1; with a row, but not described: %2"_s
                .arg(namesIn(rowless), namesIn(undescribed))
                .toStdString());
    }
}

Behaviours readBehaviours(const QJsonValue& value, const QString& where)
{
    if (value.isUndefined()) {
        return {};
    }
    if (!value.isArray()) {
        return {readBehaviour(value, where)};
    }
    Behaviours list;
    const auto array = value.toArray();
    for (qsizetype i = 0; i < array.size(); ++i) {
        list << readBehaviour(array[i], u"%1[%2]"_s.arg(where).arg(i));
    }
    return list;
}

QJsonArray toJson(const Behaviours& behaviours)
{
    QJsonArray array;
    for (const auto& behaviour : behaviours) {
        array.append(behaviour);
    }
    return array;
}

Behaviours without(Behaviours behaviours, const Behaviours& given)
{
    behaviours.removeIf([&given](const Behaviour& listed) {
        return std::ranges::any_of(
            given, [&listed](const Behaviour& one) { return withoutTimes(one) == withoutTimes(listed); });
    });
    return behaviours;
}

Connect connectOf(const Behaviours& behaviours)
{
    const auto found = std::ranges::find_if(behaviours, preventsAccept);
    return found == behaviours.end() ? Connect::Normal : planConnection(*found).connect;
}

Behaviour takeForConnection(Behaviours& behaviours)
{
    return take(behaviours, concernsConnections);
}

Behaviour takeForRequest(Behaviours& behaviours, QLatin1String method)
{
    return take(behaviours, [method](const Behaviour& behaviour) { return fits(behaviour, method); });
}

std::string proxyOf(const Behaviour& taken, const Behaviours& behaviours, QLatin1String method)
{
    const auto passesOn = [method](const Behaviour& behaviour) {
        return behaviour.contains("proxy"_L1) && fits(behaviour, method);
    };
    const auto behind = std::ranges::find_if(behaviours, passesOn);
    const auto found = taken.contains("proxy"_L1) || behind == behaviours.end() ? taken : *behind;
    return found["proxy"_L1].toString().toStdString();
}

}  // namespace marksim
