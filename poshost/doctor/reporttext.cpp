#include "poshost/doctor/report.h"

#include <algorithm>
#include <array>

#include "poshost/language.h"
#include "poshost/terminal/output.h"

namespace poshost {

namespace {

struct Mark
{
    const char16_t* sign;
    const char16_t* colour;
};
/// By level.
constexpr std::array marks = {Mark{u"✓", u"\x1b[32m"}, Mark{u"·", u"\x1b[33m"}, Mark{u"✗", u"\x1b[1;31m"}};

struct Heading
{
    Area area;
    Text text;
};
constexpr std::array headings = {
    Heading{Area::Settings, {u"Settings", u"Настройки"}},
    Heading{Area::Plugin, {u"Plug-in", u"Плагин"}},
    Heading{Area::Hosts, {u"Operator's servers", u"Серверы оператора"}},
    Heading{Area::Keys, {u"Keys", u"Ключи"}},
    Heading{Area::Sites, {u"Sites", u"Площадки"}},
    Heading{Area::Modules, {u"Local modules", u"Локальные модули"}},
};

/// Empty for the file of the settings, which stands above or before it.
QString subjectOf(const Finding& finding, const Report& report)
{
    return finding.subject == report.settingsFile ? QString() : oneLine(finding.subject);
}

QString line(const Finding& finding, const Report& report, bool colours)
{
    const Mark& mark = marks.at(size_t(finding.level));
    const QString sign = QString::fromUtf16(mark.sign);
    QString text = colours ? QString::fromUtf16(mark.colour) + sign + QLatin1String("\x1b[0m") : sign;
    const bool isPlaced = finding.line > 0 && finding.level != Level::Good;
    const QString place = isPlaced ? said({u", line %1", u", строка %1"}).arg(finding.line) : QString();
    const QString subject = subjectOf(finding, report) + place;
    text += QStringLiteral(" %1%2\n").arg(subject.isEmpty() ? subject : subject + QLatin1String(": "),
                                          oneLine(finding.text));
    if (!finding.advice.isEmpty()) {
        text += QStringLiteral("    → %1\n").arg(oneLine(finding.advice));
    }
    return text;
}

QString siteTable(const QList<SiteState>& sites)
{
    qsizetype width = 0;
    for (const SiteState& site : sites) {
        width = std::max(width, oneLine(site.site).size());
    }
    QString text;
    for (const SiteState& site : sites) {
        const QString health =
            site.healthy ? said({u"healthy", u"исправна"}) : said({u"unhealthy", u"неисправна"});
        text += said({u"  %1 %2  %3 %4 ms\n", u"  %1 %2  %3 %4 мс\n"})
                    .arg(site.chosen ? QStringLiteral("▸") : QStringLiteral(" "),
                         oneLine(site.site).leftJustified(width), health.leftJustified(10),
                         QString::number(site.elapsed.count()).rightJustified(6));
    }
    return text;
}

QString greyList(const std::optional<bool>& wanted)
{
    if (!wanted) {
        return said({u"leave alone", u"не трогать"});
    }
    return *wanted ? said({u"switch on", u"включить"}) : said({u"switch off", u"выключить"});
}

QString moduleTable(const QList<ModuleState>& modules)
{
    QString text;
    for (const ModuleState& module : modules) {
        if (!module.enabled) {
            continue;
        }
        const QString status = module.status.isEmpty() ? said({u"unknown", u"неизвестно"}) : module.status;
        const QString token = module.token.isEmpty() ? said({u"none", u"не задан"}) : module.token;
        text += said({u"  [%1] state: %2; grey lists: %3; key: %4; %5 ms\n",
                      u"  [%1] состояние: %2; серые списки: %3; ключ: %4; %5 мс\n"})
                    .arg(module.section, oneLine(status), greyList(module.greyListWanted), token,
                         QString::number(module.elapsed.count()));
    }
    return text;
}

QString sum(const Report& report)
{
    const qsizetype bad = report.count(Level::Bad) + (report.strict ? report.count(Level::Note) : 0);
    const QString time = said({u", in %1 ms\n", u", за %1 мс\n"}).arg(report.elapsed.count());
    return (bad == 0 ? said({u"All is well", u"Всё в порядке"})
                     : said({u"Not in order: %1", u"Не в порядке: %1"}).arg(bad)) +
           time;
}

}  // namespace

QString toText(const Report& report, bool colours)
{
    QString text;
    for (const Heading& heading : headings) {
        QString lines;
        for (const Finding& finding : report.findings) {
            lines += finding.area == heading.area ? line(finding, report, colours) : QString();
        }
        if (heading.area == Area::Sites) {
            lines += siteTable(report.sites);
        } else if (heading.area == Area::Modules) {
            lines += moduleTable(report.modules);
        }
        if (!lines.isEmpty()) {
            text += said(heading.text) +
                    (heading.area == Area::Settings && !report.settingsFile.isEmpty()
                         ? QStringLiteral(" (%1)").arg(oneLine(report.settingsFile))
                         : QString()) +
                    u'\n' + lines + u'\n';
        }
    }
    return text + sum(report);
}

QString toLines(const Report& report)
{
    const auto place = [](const Finding& finding) { return std::max(1, finding.line); };
    QList<Finding> findings = report.findings;
    std::stable_sort(findings.begin(), findings.end(),
                     [&](const Finding& one, const Finding& other) { return place(one) < place(other); });
    QString text;
    for (const Finding& finding : std::as_const(findings)) {
        if (finding.level == Level::Good) {
            continue;
        }
        const QString subject = subjectOf(finding, report);
        const QString advice = finding.advice.isEmpty() ? QString() : QLatin1String("; ") + finding.advice;
        text += QStringLiteral("%1:%2: %3%4%5%6\n")
                    .arg(oneLine(report.settingsFile), QString::number(place(finding)),
                         finding.level == Level::Note ? said({u"note: ", u"замечание: "}) : QString(),
                         subject.isEmpty() ? subject : subject + QLatin1String(": "), oneLine(finding.text),
                         oneLine(advice));
    }
    return text;
}

}  // namespace poshost
