#include "doctor/report.h"

#include <algorithm>

namespace doctor {

void Report::add(Level level, Area area, const char* id, const QString& subject, const QString& text,
                 const QString& advice)
{
    findings.append({level, area, QLatin1String(id), subject, text, advice});
}

qsizetype Report::count(Level level) const
{
    return std::count_if(findings.begin(), findings.end(),
                         [level](const Finding& finding) { return finding.level == level; });
}

QString masked(const QString& secret)
{
    constexpr qsizetype shortest = 8;
    return secret.size() > shortest ? u'…' + secret.last(4) : QStringLiteral("…");
}

}  // namespace doctor
