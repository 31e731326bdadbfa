#pragma once

#include <QJsonObject>
#include <QString>

#include "poshost/verification.h"

namespace poshost {

/// The story of the check for a person, in Russian, with the decision and where the time went; empty without
/// an explanation.
[[nodiscard]] QString explanationText(const Verification& verification);

/// The same for a program: "before", "steps", "decision", "spentMs". Only with an explanation.
[[nodiscard]] QJsonObject explanationJson(const Verification& verification);

}  // namespace poshost
