#include "poshost/story/summary.h"

#include <algorithm>

namespace poshost {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

QDateTime hourOf(const QDateTime& time)
{
    return QDateTime(time.date(), QTime(time.time().hour(), 0));
}

void addSites(const CheckStory& story, QMap<QString, SiteTally>& sites)
{
    for (const Step& step : story.steps) {
        if (step.purpose == Purpose::Check || step.purpose == Purpose::ModuleCheck) {
            SiteTally& site = sites[step.purpose == Purpose::Check ? siteOf(step.address) : moduleSite()];
            ++site.requests;
            site.quarantines += step.wasDone("quarantine") ? 1 : 0;
            site.spent += step.duration;
        }
    }
    if (story.end && story.end->byModule) {
        ++sites[moduleSite()].verdicts;
    } else if (story.end && story.end->errorKind == http::ErrorKind::None && !story.end->address.isEmpty()) {
        ++sites[siteOf(story.end->address)].verdicts;
    }
}

void addCodes(const CheckEnd& end, Summary& summary)
{
    (end.errorKind == http::ErrorKind::SalePermitted ? summary.permittedCodes : summary.passedCodes) +=
        end.passed;
    summary.refusedCodes += end.failed;
}

QString share(int part, int whole)
{
    return whole == 0 ? QStringLiteral("—") : QString::number(100.0 * part / whole, 'f', 1) + u'%';
}

QString msText(nanoseconds duration)
{
    return said({u"%1 ms", u"%1 мс"}).arg(duration_cast<milliseconds>(duration).count());
}

/// The heads of columns, named with commas between them.
QStringList heads(const Text& names)
{
    return said(names).split(u',');
}

/// In columns: the first to the left, the others to the right.
QString table(const QList<QStringList>& rows)
{
    QString text;
    for (const QStringList& row : rows) {
        QStringList cells;
        for (qsizetype i = 0; i < row.size(); ++i) {
            qsizetype width = 0;
            for (const QStringList& other : rows) {
                width = std::max(width, other[i].size());
            }
            cells.append(i == 0 ? row[i].leftJustified(width) : row[i].rightJustified(width));
        }
        text += QStringLiteral("  %1\n").arg(cells.join(QLatin1String("  ")));
    }
    return text;
}

/// The one with the most verdicts first.
QStringList sitesByVerdicts(const Summary& summary)
{
    QStringList names = summary.sites.keys();
    std::stable_sort(names.begin(), names.end(), [&](const QString& one, const QString& other) {
        return summary.sites[one].verdicts > summary.sites[other].verdicts;
    });
    return names;
}

QStringList tallyRow(const QString& name, const CheckTally& tally, int all)
{
    return {name,
            QString::number(tally.checks),
            share(tally.checks, all),
            QString::number(tally.of(Outcome::Refused)),
            QString::number(tally.of(Outcome::Permitted)),
            QString::number(tally.byModule),
            QString::number(tally.of(Outcome::Unfinished)),
            msText(tally.longest)};
}

}  // namespace

QString moduleSite()
{
    return said({u"local module", u"локальный модуль"});
}

void CheckTally::add(const CheckStory& story)
{
    ++checks;
    ++byOutcome.at(size_t(story.outcome()));
    const bool isModules = story.end && story.end->byModule;
    byModule += isModules ? 1 : 0;
    passedByModule += isModules && story.outcome() == Outcome::Passed ? 1 : 0;
    longest = std::max(longest, story.total);
}

Summary summaryOf(const QList<CheckStory>& checks)
{
    Summary summary;
    for (const CheckStory& story : checks) {
        summary.all.add(story);
        summary.hours[hourOf(story.begin)].add(story);
        addSites(story, summary.sites);
        if (story.end) {
            addCodes(*story.end, summary);
        }
    }
    return summary;
}

QString toText(const Summary& summary)
{
    const int all = summary.all.checks;
    QList<QStringList> hours = {
        heads({u"By hour,checks,share,refused,no check,module,not finished,longest",
               u"По часам,проверок,доля,отказ,без проверки,модуль,не закончено,самая долгая"})};
    for (auto hour = summary.hours.begin(); hour != summary.hours.end(); ++hour) {
        hours.append(tallyRow(hour.key().toString(QStringLiteral("yyyy-MM-dd HH:00")), *hour, all));
    }
    hours.append(tallyRow(said({u"Total", u"Всего"}), summary.all, all));

    QList<QStringList> sites = {heads({u"By site,verdicts,share,requests,on average,put out of use",
                                       u"По площадкам,вердиктов,доля,запросов,в среднем,снята"})};
    for (const QString& name : sitesByVerdicts(summary)) {
        const SiteTally& site = *summary.sites.find(name);
        sites.append({name, QString::number(site.verdicts), share(site.verdicts, all),
                      QString::number(site.requests),
                      site.requests == 0 ? QStringLiteral("—") : msText(site.spent / site.requests),
                      QString::number(site.quarantines)});
    }
    return said({u"Summary\n", u"Итоги\n"}) + table(hours) + u'\n' +
           (sites.size() > 1 ? table(sites) + u'\n' : QString()) +
           said({u"Codes: passed %1, refused %2, without a check %3\n",
                 u"Кодов: прошли %1, отказано %2, без проверки %3\n"})
               .arg(QString::number(summary.passedCodes), QString::number(summary.refusedCodes),
                    QString::number(summary.permittedCodes));
}

}  // namespace poshost
