#pragma once

#include <chrono>
#include <optional>

#include <QList>
#include <QSet>

#include "poshost/settings/hostsettings.h"
#include "poshost/story/checkstory.h"
#include "poshost/till/notifications.h"
#include "result/checkmarkingcodesresult.h"
#include <utils/markingcode.h>

namespace poshost {

/// What the check is for: goods are sold or taken back.
enum class Deal { Sale, Refund };

/// What became of one requested code. Unverified: it may be sold, but nobody has given a verdict.
enum class Verdict { Passed, Failed, Missing, Unverified };

/// Where the verdicts came from. Nowhere: nobody gave one.
enum class Source { Nowhere, Online, Offline };

/// One check, from the codes asked for to the result. Its texts may lie in the plug-in's library: to be gone
/// before the session is.
struct Verification
{
    QList<MarkingCode> codes;  ///< as asked for
    Deal deal = Deal::Sale;
    std::optional<int> triggerResult;  ///< EContext::Result; nothing when the plug-in is idle
    CheckMarkingCodesResult result;    ///< judged for the deal
    QSet<MarkingCode> forgiven;        ///< codes that passed although they were sold
    QList<Notification> notifications;
    std::chrono::milliseconds elapsed{0};
    bool stand = false;               ///< a test stand was asked, not an operator
    std::optional<CheckStory> story;  ///< where it was asked for

    /// The plug-in has taken the action.
    [[nodiscard]] bool isServed() const;
    /// One for each of `codes`. A code that is reported both as passed and as failed has failed; one that is
    /// not reported at all is missing. One that passed because the sale is permitted without a verdict is
    /// unverified.
    [[nodiscard]] QList<Verdict> verdicts() const;
    [[nodiscard]] Source source() const;
    /// By the verdicts of all codes, and of those that the reply refuses although nobody asked.
    [[nodiscard]] int exitStatus() const;
};

/// Judges the check of all codes for its deal; every report shows the result behind this. Pure.
///
/// The plug-in's answer does not depend on the deal. What is taken back has been sold, so that a sold code is
/// no reason to refuse a refund, nor that it is out of circulation since: a code that was refused for that
/// alone passes and is in `forgiven`. Every other reason holds for both.
void judgeForDeal(Verification& verification);

/// Why a failed code of the result was refused: the flags that count in this deal.
[[nodiscard]] CheckMarkingCodesResult::Status
standingReasons(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal);

/// Has the loaded plug-in check the codes, and judges the result for the deal. With `explained` it takes
/// down how that goes.
[[nodiscard]] Verification verify(const QList<MarkingCode>& codes, const HostSettings& settings, Deal deal,
                                  bool explained);

}  // namespace poshost
