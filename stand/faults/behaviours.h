#pragma once

#include "stand/faults/fault.h"

#include <QJsonArray>
#include <QList>

namespace marksim {

/// The behaviours of one server, in order: the first that fits treats a request or connection; one that is
/// limited to a number of them ("times") leaves the list with the last.
using Behaviours = QList<Behaviour>;

/// Every key that the schema describes has an effect, and every effect is described. Throws std::logic_error
/// with the keys that lack one of the two.
void checkFaultsAreDescribed();

/// Of an array of behaviours, or of a single one; none when `value` is undefined. Throws InputError; `where`
/// names them in it.
[[nodiscard]] Behaviours readBehaviours(const QJsonValue& value, const QString& where);
/// As they were given, "times" counted down.
[[nodiscard]] QJsonArray toJson(const Behaviours& behaviours);

/// Without those that were given like one of `given`; "times" makes no difference.
[[nodiscard]] Behaviours without(Behaviours behaviours, const Behaviours& given);

/// Whether connections are to be accepted (Normal) or what keeps them out.
[[nodiscard]] Connect connectOf(const Behaviours& behaviours);

/// The behaviour that treats the next connection, or the next request to a method (empty for a request to
/// none that is known); it is counted in the list. Empty when none fits.
[[nodiscard]] Behaviour takeForConnection(Behaviours& behaviours);
[[nodiscard]] Behaviour takeForRequest(Behaviours& behaviours, QLatin1String method);

/// The address that the request is passed on to: that of `taken`, or of the first that fits behind it; empty
/// when this server answers by itself.
[[nodiscard]] std::string proxyOf(const Behaviour& taken, const Behaviours& behaviours, QLatin1String method);

}  // namespace marksim
