#pragma once

#include <array>
#include <chrono>

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>

#include "poshost/story/checkstory.h"

namespace poshost {

/// Checks of a time.
struct CheckTally
{
    int checks = 0;
    std::array<int, 4> byOutcome{};  ///< by Outcome
    int byModule = 0;                ///< verdicts of a local module, whatever they were
    int passedByModule = 0;          ///< those of them that refused no code
    std::chrono::nanoseconds longest{0};

    [[nodiscard]] int of(Outcome outcome) const { return byOutcome.at(size_t(outcome)); }
    void add(const CheckStory& story);
};

/// What one site did in them; the local modules are one site.
struct SiteTally
{
    int requests = 0;  ///< checks that it was asked for, as far as they were logged
    int verdicts = 0;  ///< checks that ended with its reply
    int quarantines = 0;
    std::chrono::nanoseconds spent{0};  ///< on these requests
};

struct Summary
{
    CheckTally all;
    QMap<QDateTime, CheckTally> hours;  ///< by their begins, local time; none without a check
    QMap<QString, SiteTally> sites;     ///< by address
    int passedCodes = 0;                ///< with a verdict
    int refusedCodes = 0;
    int permittedCodes = 0;  ///< sold without a verdict
};

/// What the local modules are called among the sites.
[[nodiscard]] QString moduleSite();

[[nodiscard]] Summary summaryOf(const QList<CheckStory>& checks);
/// For a person; by hour and by site with their shares.
[[nodiscard]] QString toText(const Summary& summary);

/// The checks in the text format of Prometheus, for a textfile collector: names begin with "crptservice_".
[[nodiscard]] QString toMetrics(const QList<CheckStory>& checks);

/// Draws the checks of each hour by their outcomes into an SVG file, by gnuplot. Throws FatalError when
/// gnuplot is not installed or fails, when there is nothing to draw, and when the file cannot be written.
void plot(const Summary& summary, const QString& file);

}  // namespace poshost
