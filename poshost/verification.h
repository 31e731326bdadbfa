#pragma once

#include <chrono>
#include <optional>

#include <QList>

#include "poshost/explanation.h"
#include "poshost/hostsettings.h"
#include "poshost/notificationlog.h"
#include "poshost/session.h"
#include "result/checkmarkingcodesresult.h"
#include <utils/markingcode.h>

namespace poshost {

/// What became of one requested code.
enum class Verdict { Passed, Failed, Missing };

/// Where the verdicts came from.
enum class Source { Nowhere, Online, Offline };

/// One check, from the codes asked for to the result. Its texts may lie in the plug-in's library: to be gone
/// before the session is.
struct Verification
{
    QList<MarkingCode> codes;          ///< as asked for
    std::optional<int> triggerResult;  ///< EContext::Result; nothing when the plug-in is idle
    CheckMarkingCodesResult result;
    QList<Notification> notifications;
    std::chrono::milliseconds elapsed{0};
    std::optional<Explanation> explanation;  ///< where it was asked for

    /// The plug-in has taken the action.
    [[nodiscard]] bool isServed() const;
    /// One for each of `codes`. A code that is reported both as passed and as failed has failed; one that is
    /// not reported at all is missing.
    [[nodiscard]] QList<Verdict> verdicts() const;
    [[nodiscard]] Source source() const;
    /// By the verdicts of all codes.
    [[nodiscard]] int exitStatus() const;
};

/// Has the session's plug-in check the codes. With `explained` it takes down how that goes.
[[nodiscard]] Verification verify(const QList<MarkingCode>& codes, const HostSettings& settings, bool refund,
                                  bool explained = false);

}  // namespace poshost
