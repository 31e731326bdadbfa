#pragma once

#include "stand/faults/fault.h"

#include <QString>

namespace marksim {

/// True for a behaviour that treats whole connections, before their requests are known.
[[nodiscard]] bool concernsConnections(const Behaviour& behaviour);
/// True for one that keeps connections from being accepted at all.
[[nodiscard]] bool preventsAccept(const Behaviour& behaviour);

[[nodiscard]] ConnectionPlan planConnection(const Behaviour& behaviour);

/// Nothing about requests can stand beside what concerns connections, and what is not accepted cannot be
/// counted. Throws InputError; `where` names the behaviour in it.
void checkConnectionAlone(const Behaviour& behaviour, const QString& where);

}  // namespace marksim
