#include "poshost/doctor/report.h"

#include <algorithm>

namespace poshost {

void Report::add(Level level, Area area, const char* id, const QString& subject, const QString& text,
                 const QString& advice, int line)
{
    findings.append({level, area, QLatin1String(id), subject, text, advice, line});
}

qsizetype Report::count(Level level) const
{
    return std::count_if(findings.begin(), findings.end(),
                         [level](const Finding& finding) { return finding.level == level; });
}

}  // namespace poshost
