#include "poshost/doctor/report.h"

#include <array>

#include <QJsonObject>

#include "poshost/terminal/jsonvalues.h"
#include "poshost/terminal/output.h"

namespace poshost {

namespace {

/// By level and area.
constexpr std::array levels = {QLatin1String("good"), QLatin1String("note"), QLatin1String("bad")};
constexpr std::array areas = {QLatin1String("settings"), QLatin1String("plugin"), QLatin1String("hosts"),
                              QLatin1String("keys"),     QLatin1String("sites"),  QLatin1String("modules")};

QJsonValue timeOrNull(const QDateTime& time)
{
    return time.isValid() ? QJsonValue(time.toUTC().toString(Qt::ISODate)) : QJsonValue();
}

QJsonObject describeFinding(const Finding& finding)
{
    return {{QStringLiteral("level"), levels.at(size_t(finding.level))},
            {QStringLiteral("area"), areas.at(size_t(finding.area))},
            {QStringLiteral("id"), finding.id},
            {QStringLiteral("subject"), finding.subject},
            {QStringLiteral("text"), finding.text},
            {QStringLiteral("advice"), finding.advice},
            {QStringLiteral("line"), finding.line > 0 ? QJsonValue(finding.line) : QJsonValue()}};
}

QJsonObject describeSection(const MarkingSection& section)
{
    return {{QStringLiteral("section"), section.section}, {QStringLiteral("service"), section.service}};
}

QJsonObject describeKeyState(const KeyState& key)
{
    return {{QStringLiteral("key"), key.key},
            {QStringLiteral("accepted"), orNull(key.accepted)},
            {QStringLiteral("httpStatus"), key.httpStatus},
            {QStringLiteral("elapsedMs"), qint64(key.elapsed.count())}};
}

QJsonObject describeHost(const HostState& host)
{
    return {{QStringLiteral("url"), host.url},
            {QStringLiteral("peer"), orNull(host.peer)},
            {QStringLiteral("resolved"), host.resolved},
            {QStringLiteral("connected"), host.connected},
            {QStringLiteral("tls"), orNull(host.secured)},
            {QStringLiteral("certificateEnd"), timeOrNull(host.certificateEnd)},
            {QStringLiteral("clockSkewSeconds"),
             host.clockSkew ? QJsonValue(qint64(host.clockSkew->count())) : QJsonValue()},
            {QStringLiteral("keys"), arrayOf(host.keys, describeKeyState)}};
}

QJsonObject describeSite(const SiteState& site)
{
    return {{QStringLiteral("site"), site.site},
            {QStringLiteral("host"), site.host},
            {QStringLiteral("healthy"), site.healthy},
            {QStringLiteral("chosen"), site.chosen},
            {QStringLiteral("httpStatus"), site.httpStatus},
            {QStringLiteral("elapsedMs"), qint64(site.elapsed.count())}};
}

QJsonObject describeModule(const ModuleState& module)
{
    return {{QStringLiteral("section"), module.section},
            {QStringLiteral("url"), module.url},
            {QStringLiteral("token"), orNull(module.token)},
            {QStringLiteral("enabled"), module.enabled},
            {QStringLiteral("maintained"), module.maintained},
            {QStringLiteral("greyListWanted"), orNull(module.greyListWanted)},
            {QStringLiteral("status"), orNull(module.status)},
            {QStringLiteral("credentialsAccepted"), orNull(module.credentialsAccepted)},
            {QStringLiteral("httpStatus"), module.httpStatus},
            {QStringLiteral("elapsedMs"), qint64(module.elapsed.count())}};
}

}  // namespace

QString toJson(const Report& report)
{
    const QJsonObject object{
        {QStringLiteral("ok"), report.isGood()},
        {QStringLiteral("settingsFile"), orNull(report.settingsFile)},
        {QStringLiteral("service"), orNull(report.service)},
        {QStringLiteral("pluginVersion"), orNull(report.pluginVersion)},
        {QStringLiteral("pluginWorks"), orNull(report.pluginWorks)},
        {QStringLiteral("markingSections"), arrayOf(report.markingSections, describeSection)},
        {QStringLiteral("hosts"), arrayOf(report.hosts, describeHost)},
        {QStringLiteral("sites"), arrayOf(report.sites, describeSite)},
        {QStringLiteral("modules"), arrayOf(report.modules, describeModule)},
        {QStringLiteral("findings"), arrayOf(report.findings, describeFinding)},
        {QStringLiteral("elapsedMs"), qint64(report.elapsed.count())},
    };
    return jsonLine(object, report.stand);
}

}  // namespace poshost
