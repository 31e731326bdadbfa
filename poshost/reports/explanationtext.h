#pragma once

#include <QJsonObject>
#include <QString>

#include "poshost/till/verification.h"

namespace poshost {

/// What decided in a check.
struct Decision
{
    Source source = Source::Nowhere;
    int errorKind = 0;
    QString words;
};
[[nodiscard]] Decision decisionOf(const Verification& verification);
/// As the plug-in says itself, see CheckStory::end.
[[nodiscard]] Decision decisionOf(const CheckEnd& end);

/// The story of the check for a person, with the decision and where the time went.
[[nodiscard]] QString explanationText(const CheckStory& story, const Decision& decision);

/// The same for a program: "before", "steps", "decision", "spentMs".
[[nodiscard]] QJsonObject explanationJson(const CheckStory& story, const Decision& decision);

}  // namespace poshost
