#pragma once

#include <chrono>
#include <optional>

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include "poshost/language.h"
#include "result/checkmarkingcodesresult.h"
#include "result/requeststatus.h"
#include <network/response.h>

namespace poshost {

/// What a request was for.
enum class Purpose { Check, SiteList, Probe, ModuleStatus, ModuleCheck, Other };
inline constexpr int purposes = int(Purpose::Other) + 1;

/// Something that the plug-in did about an answer, or for want of one.
struct TraceNote
{
    const char* name = "";  ///< as programs read it: "quarantine", "switch", ...
    Text words;             ///< as people read it
};

/// One request of a check, and what was done about its answer.
struct Step
{
    Purpose purpose = Purpose::Other;
    bool post = false;
    QString address;     ///< URL without user, password and query
    int httpStatus = 0;  ///< 0: no status line came
    QString className;   ///< what the answer means, see CheckStory
    QString classWords;
    QString error;                   ///< what went wrong on the way, in Russian
    std::chrono::nanoseconds at{0};  ///< since the begin of the check
    std::chrono::nanoseconds duration{0};
    QList<TraceNote> done;

    [[nodiscard]] bool wasDone(const char* note) const;
};

/// A code that was refused, and why: flags, message and error code.
struct RefusedCode
{
    QString code;  ///< as the log has it
    CheckMarkingCodesResult::CodeStatus why;
};

/// What a check came to, as the plug-in itself says.
struct CheckEnd
{
    int passed = 0;
    int failed = 0;
    QList<RefusedCode> refused;  ///< the first of those that failed; none in a log of an older plug-in
    http::ErrorKind errorKind = http::ErrorKind::None;
    bool byModule = false;  ///< the verdicts are a local module's
    int httpStatus = 0;     ///< of the last reply of the operator; 0: none came
    QString address;        ///< where that came from; empty: nobody was asked
};

/// How a check ended. Refused: some code was. Permitted: the goods may be sold, but nobody gave a verdict.
enum class Outcome { Passed, Refused, Permitted, Unfinished };

/// The story of one check: what was asked, what it came to, where the time went. A value; holds no secrets
/// and nothing that points into the plug-in.
///
/// Classes of answers: to a check or a site list those of RequestStatus; of a probe "healthy" and
/// "unhealthy"; of a module's status "ready" and "not-ready"; of other questions to a module "answered" and
/// "not-answered". "timeout" and "network-error" where nothing came.
struct CheckStory
{
    QStringList codes;
    QList<TraceNote> before;  ///< done before the first request
    QList<Step> steps;
    std::optional<CheckEnd> end;  ///< nothing when the check did not come to its end, or does not say so
    std::chrono::nanoseconds total{0};  ///< from the begin of the check to its end

    // From a log only.
    QDateTime begin;  ///< local time
    QString thread;   ///< that the check ran in

    [[nodiscard]] Outcome outcome() const;
    /// Whether anything was other than a plain answer of the first site, whatever it said of the codes.
    [[nodiscard]] bool isTrouble() const;
    /// Time spent on requests of that purpose.
    [[nodiscard]] std::chrono::nanoseconds spentOn(Purpose purpose) const;
    /// The rest of the time.
    [[nodiscard]] std::chrono::nanoseconds spentElsewhere() const;
};

/// As programs read it: "check", "list", "probe", "module-status", "module-check", "other".
[[nodiscard]] QString purposeName(Purpose purpose);
/// As people read it.
[[nodiscard]] QString purposeWords(Purpose purpose);

/// The step that a reply makes; without its times.
[[nodiscard]] Step stepOf(const http::Response& reply, bool post);
/// What a module means that names this state.
void setModuleState(Step& step, const QString& state);
void setClass(Step& step, RequestStatus status);
void setClass(Step& step, const char* name, const QString& words);

/// The address as the story shows it: without user, password and query.
[[nodiscard]] QString plainAddress(const QUrl& url);
/// Scheme, host and port of an address.
[[nodiscard]] QString siteOf(const QString& address);

}  // namespace poshost
