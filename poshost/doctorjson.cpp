#include "poshost/doctorjson.h"

#include <array>
#include <limits>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "doctor/knownkeys.h"

namespace poshost {

namespace {

/// By level and area.
constexpr std::array Levels = {QLatin1String("good"), QLatin1String("note"), QLatin1String("bad")};
constexpr std::array Areas = {QLatin1String("settings"), QLatin1String("plugin"), QLatin1String("hosts"),
                              QLatin1String("keys"),     QLatin1String("sites"),  QLatin1String("modules")};

QString printed(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + u'\n';
}

QJsonValue orNull(const std::optional<bool>& value)
{
    return value ? QJsonValue(*value) : QJsonValue();
}

QJsonValue orNull(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonValue orNull(const QDateTime& time)
{
    return time.isValid() ? QJsonValue(time.toUTC().toString(Qt::ISODate)) : QJsonValue();
}

template <class List, class Describe>
QJsonArray arrayOf(const List& list, Describe describe)
{
    QJsonArray array;
    for (const auto& element : list) {
        array.append(describe(element));
    }
    return array;
}

QJsonObject describeFinding(const doctor::Finding& finding)
{
    return {{QStringLiteral("level"), Levels.at(size_t(finding.level))},
            {QStringLiteral("area"), Areas.at(size_t(finding.area))},
            {QStringLiteral("id"), finding.id},
            {QStringLiteral("subject"), finding.subject},
            {QStringLiteral("text"), finding.text},
            {QStringLiteral("advice"), finding.advice}};
}

QJsonObject describeSection(const doctor::MarkingSection& section)
{
    return {{QStringLiteral("section"), section.section}, {QStringLiteral("service"), section.service}};
}

QJsonObject describeKeyState(const doctor::KeyState& key)
{
    return {{QStringLiteral("key"), key.key},
            {QStringLiteral("accepted"), orNull(key.accepted)},
            {QStringLiteral("httpStatus"), key.httpStatus},
            {QStringLiteral("elapsedMs"), qint64(key.elapsed.count())}};
}

QJsonObject describeHost(const doctor::HostState& host)
{
    return {{QStringLiteral("url"), host.url},
            {QStringLiteral("peer"), orNull(host.peer)},
            {QStringLiteral("resolved"), host.resolved},
            {QStringLiteral("connected"), host.connected},
            {QStringLiteral("tls"), orNull(host.secured)},
            {QStringLiteral("certificateEnd"), orNull(host.certificateEnd)},
            {QStringLiteral("clockSkewSeconds"),
             host.clockSkew ? QJsonValue(qint64(host.clockSkew->count())) : QJsonValue()},
            {QStringLiteral("keys"), arrayOf(host.keys, describeKeyState)}};
}

QJsonObject describeSite(const doctor::SiteState& site)
{
    return {{QStringLiteral("site"), site.site},
            {QStringLiteral("host"), site.host},
            {QStringLiteral("healthy"), site.healthy},
            {QStringLiteral("chosen"), site.chosen},
            {QStringLiteral("httpStatus"), site.httpStatus},
            {QStringLiteral("elapsedMs"), qint64(site.elapsed.count())}};
}

QJsonObject describeModule(const doctor::ModuleState& module)
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

QJsonObject describeKnownKey(const doctor::KnownKey& key)
{
    using Limits = std::numeric_limits<int>;
    const bool isNumber = key.type == doctor::KeyType::Number;
    const auto limit = [&](int value, int none) {
        return isNumber && value != none ? QJsonValue(value) : QJsonValue();
    };
    return {{QStringLiteral("section"), QLatin1String(key.section)},
            {QStringLiteral("key"), QLatin1String(key.name)},
            {QStringLiteral("type"), doctor::typeName(key.type)},
            {QStringLiteral("default"), orNull(QString::fromLatin1(key.fallback))},
            {QStringLiteral("least"), limit(key.least, Limits::min())},
            {QStringLiteral("most"), limit(key.most, Limits::max())},
            {QStringLiteral("choices"), QJsonArray::fromStringList(key.words())},
            {QStringLiteral("readBy"), key.isOfHost() ? QStringLiteral("poshost") : QStringLiteral("plugin")},
            {QStringLiteral("instead"), orNull(QString::fromUtf16(key.instead))},
            {QStringLiteral("outside"), isNumber ? orNull(QString::fromUtf16(key.outside)) : QJsonValue()},
            {QStringLiteral("meaning"), QString::fromUtf16(key.meaning)},
            {QStringLiteral("meaningEn"), QString::fromLatin1(key.meaningInEnglish)}};
}

}  // namespace

QString toJson(const doctor::Report& report)
{
    return printed({
        {QStringLiteral("ok"), report.count(doctor::Level::Bad) == 0},
        {QStringLiteral("settingsFile"), orNull(report.settingsFile)},
        {QStringLiteral("service"), orNull(report.service)},
        {QStringLiteral("pluginWorks"), orNull(report.pluginWorks)},
        {QStringLiteral("markingSections"), arrayOf(report.markingSections, describeSection)},
        {QStringLiteral("hosts"), arrayOf(report.hosts, describeHost)},
        {QStringLiteral("sites"), arrayOf(report.sites, describeSite)},
        {QStringLiteral("modules"), arrayOf(report.modules, describeModule)},
        {QStringLiteral("findings"), arrayOf(report.findings, describeFinding)},
        {QStringLiteral("elapsedMs"), qint64(report.elapsed.count())},
    });
}

QString knownKeysJson()
{
    return printed({{QStringLiteral("keys"), arrayOf(doctor::knownKeys(), describeKnownKey)}});
}

}  // namespace poshost
