#include "stand/faults/connectionfaults.h"

#include "stand/scenario/schema.h"

#include <QMap>
#include <QStringList>

namespace marksim {

using namespace Qt::StringLiterals;

bool concernsConnections(const Behaviour& behaviour)
{
    return behaviour.contains("connect"_L1) || behaviour.contains("certificate"_L1);
}

bool preventsAccept(const Behaviour& behaviour)
{
    const auto connect = planConnection(behaviour).connect;
    return connect == Connect::Refuse || connect == Connect::Unanswered;
}

ConnectionPlan planConnection(const Behaviour& behaviour)
{
    static const QMap<QString, Connect> names = {{u"refuse"_s, Connect::Refuse},
                                                 {u"unanswered"_s, Connect::Unanswered},
                                                 {u"reset"_s, Connect::Reset},
                                                 {u"close"_s, Connect::Close},
                                                 {u"silent"_s, Connect::Silent}};
    return {names.value(behaviour["connect"_L1].toString(), Connect::Normal),
            behaviour["certificate"_L1].toString(u"good"_s)};
}

void checkConnectionAlone(const Behaviour& behaviour, const QString& where)
{
    if (!concernsConnections(behaviour)) {
        return;
    }
    const QStringList allowed{u"connect"_s, u"certificate"_s, u"times"_s};
    const auto keys = behaviour.keys();
    for (const auto& key : keys) {
        if (!allowed.contains(key)) {
            throw InputError(
                u"%1.connect: concerns whole connections, \"%2\" cannot stand beside it"_s.arg(where, key));
        }
    }
    if (preventsAccept(behaviour) && behaviour.contains("times"_L1)) {
        throw InputError(
            u"%1.times: a connection that is not accepted is not seen and cannot be counted"_s.arg(where));
    }
}

}  // namespace marksim
