#include "poshost/story/summary.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace poshost {

namespace {

using Seconds = std::chrono::duration<double>;

/// Upper bounds, seconds: a good check takes tens of milliseconds, the operation time-out is 15 s as a rule.
constexpr std::array bounds = {0.05, 0.1, 0.25, 0.5, 1.0, 2.5, 5.0, 10.0, 15.0, 30.0};

QString head(const char* name, const char* type, const char* help)
{
    return QStringLiteral("# HELP crptservice_%1 %2\n# TYPE crptservice_%1 %3\n")
        .arg(QLatin1String(name), QLatin1String(help), QLatin1String(type));
}

QString sample(const char* name, const QString& labels, const QString& value)
{
    return QStringLiteral("crptservice_%1%2 %3\n").arg(QLatin1String(name), labels, value);
}

QString counter(const char* name, const char* help, int value)
{
    return head(name, "counter", help) + sample(name, {}, QString::number(value));
}

QString label(const char* name, QString value)
{
    value.replace(u'\\', QLatin1String("\\\\")).replace(u'"', QLatin1String("\\\""));
    return QStringLiteral("{%1=\"%2\"}").arg(QLatin1String(name), value);
}

/// One sample for each site.
QString bySite(const char* name, const char* help, const Summary& summary, int SiteTally::*count)
{
    QString text = head(name, "counter", help);
    for (auto site = summary.sites.begin(); site != summary.sites.end(); ++site) {
        const QString shown = site.key() == moduleSite() ? QStringLiteral("module") : site.key();
        text += sample(name, label("site", shown), QString::number((*site).*count));
    }
    return text;
}

QString codes(const Summary& summary)
{
    const std::pair<const char*, int> verdicts[] = {{"passed", summary.passedCodes},
                                                    {"refused", summary.refusedCodes},
                                                    {"permitted", summary.permittedCodes}};
    QString text = head("codes_total", "counter", "Codes by what became of them.");
    for (const auto& [verdict, count] : verdicts) {
        text += sample("codes_total", label("verdict", QLatin1String(verdict)), QString::number(count));
    }
    return text;
}

/// Of the checks that came to their end.
QString durations(const QList<CheckStory>& checks)
{
    constexpr const char* bucket = "check_duration_seconds_bucket";
    QList<double> seconds;
    double sum = 0;
    for (const CheckStory& story : checks) {
        if (story.end) {
            seconds.append(Seconds(story.total).count());
            sum += seconds.last();
        }
    }
    QString text = head("check_duration_seconds", "histogram", "How long checks took from begin to end.");
    for (const double bound : bounds) {
        const auto within =
            std::count_if(seconds.begin(), seconds.end(), [bound](double each) { return each <= bound; });
        text += sample(bucket, label("le", QString::number(bound)), QString::number(within));
    }
    const QString count = QString::number(seconds.size());
    return text + sample(bucket, label("le", QStringLiteral("+Inf")), count) +
           sample("check_duration_seconds_sum", {}, QString::number(sum, 'f', 3)) +
           sample("check_duration_seconds_count", {}, count);
}

}  // namespace

QString toMetrics(const QList<CheckStory>& checks)
{
    const Summary summary = summaryOf(checks);
    return counter("checks_total", "Checks of marking codes.", summary.all.checks) +
           counter("refusals_total", "Checks that refused some code.", summary.all.of(Outcome::Refused)) +
           counter("permitted_without_verdict_total", "Checks whose goods were sold without a verdict.",
                   summary.all.of(Outcome::Permitted)) +
           counter("offline_total", "Checks whose verdict a local module gave.", summary.all.byModule) +
           counter("unfinished_total", "Checks whose end is not in the log.",
                   summary.all.of(Outcome::Unfinished)) +
           codes(summary) +
           bySite("site_verdicts_total", "Checks that ended with the site's reply.", summary,
                  &SiteTally::verdicts) +
           bySite("site_quarantines_total", "How often the site was taken out of service.", summary,
                  &SiteTally::quarantines) +
           durations(checks);
}

}  // namespace poshost
