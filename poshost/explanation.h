#pragma once

#include <chrono>
#include <optional>

#include <QList>
#include <QString>

#include "poshost/checktrace.h"

namespace poshost {

/// What a request was for.
enum class Purpose { Check, SiteList, Probe, ModuleStatus, ModuleCheck, Other };

/// Something that the plug-in did about an answer, or for want of one.
struct Deed
{
    const char* name = "";   ///< as programs read it: "quarantine", "switch", ...
    const char* words = "";  ///< as people read it, in Russian
};

/// One request of a check, and what was done about its answer.
struct Step
{
    Purpose purpose = Purpose::Other;
    bool post = false;
    QString address;     ///< URL without user, password and query
    int httpStatus = 0;  ///< 0: no status line came
    QString className;   ///< what the answer means, see Explanation
    QString classWords;
    QString error;                   ///< what went wrong on the way, in Russian
    std::chrono::nanoseconds at{0};  ///< since the begin of the check
    std::chrono::nanoseconds duration{0};
    QList<Deed> done;
};

/// The story of one check: what was asked, what it came to, where the time went. A value; holds no secrets
/// and nothing that points into the plug-in.
///
/// Classes of answers: to a check or a site list those of ReplyClass; of a probe "healthy" and "unhealthy";
/// of a module's status "ready" and "not-ready"; of other questions to a module "answered" and
/// "not-answered". "timeout" and "network-error" where nothing came.
struct Explanation
{
    QList<Deed> before;  ///< done before the first request
    QList<Step> steps;

    /// Time spent on requests of that purpose.
    [[nodiscard]] std::chrono::nanoseconds spentOn(Purpose purpose) const;
    /// Time spent on all requests.
    [[nodiscard]] std::chrono::nanoseconds spentOnRequests() const;

    std::chrono::nanoseconds total{0};  ///< from the begin of the check to its end
};

/// As programs read it: "check", "list", "probe", "module-status", "module-check", "other".
[[nodiscard]] QString purposeName(Purpose purpose);
/// As people read it, in Russian.
[[nodiscard]] QString purposeWords(Purpose purpose);
inline constexpr int purposes = int(Purpose::Other) + 1;

/// Makes the story of what a thread did between two moments. Pure.
[[nodiscard]] Explanation explain(const QList<TraceEntry>& entries,
                                  std::chrono::steady_clock::time_point begin,
                                  std::chrono::steady_clock::time_point end);

}  // namespace poshost
