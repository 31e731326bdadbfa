#include "poshost/doctor/examination.h"

#include <algorithm>
#include <optional>
#include <set>

#include <QJsonArray>
#include <QJsonObject>
#include <QUrl>

#include "poshost/doctor/operatorasking.h"
#include "poshost/language.h"
#include "poshost/settings/values.h"

namespace poshost {

namespace {

using std::chrono::seconds;

constexpr seconds maxClockSkew{60};
constexpr int daysOfWarning = 14;

/// The sites of a list that the plug-in would look at.
QStringList probedSites(const QJsonArray& listed)
{
    constexpr qsizetype maxSites = 100;
    QStringList sites;
    for (const auto& element : listed) {
        sites.append(element[QLatin1String("host")].toString());
    }
    sites.removeAll(QString());
    sites.removeDuplicates();
    return sites.mid(0, maxSites);
}

class OperatorCheck
{
public:
    explicit OperatorCheck(const Examined& examined)
        : m_examined(examined)
        , m_report(examined.report)
        , m_keys(examined.config.getList(QStringLiteral("Host:keys")))
    {
    }

    void checkHost(const QUrl& url);
    void chooseSite();

private:
    std::optional<QJsonArray> askForSites(HostState& host, const QUrl& url, const QString& key);
    void describe(HostState& host, const http::ExchangeRecord& exchange) const;
    void judge(const HostState& host, const http::ExchangeRecord& exchange);
    void judgeClock(const HostState& host);
    void judgeKey(HostState& host, const QString& key, const http::ExchangeRecord& exchange,
                  const QJsonArray& listed);
    bool checkSite(const HostState& host, const QString& address, const QString& key);
    void judgeTime(const SiteState& site);

    const Examined& m_examined;
    Report& m_report;
    QStringList m_keys;  ///< as the settings have them
    bool m_clockJudged = false;
};

/// As the plug-in does it: the last key is tried first, and the first key that brings healthy sites is the
/// one whose sites count.
void OperatorCheck::checkHost(const QUrl& url)
{
    HostState host;
    host.url = shown(url);
    QStringList order(m_keys.rbegin(), m_keys.rend());
    order.removeDuplicates();
    if (order.isEmpty()) {
        order.append(QString());  // the line is examined all the same
    }
    QList<std::pair<QString, QJsonArray>> lists;
    for (const QString& key : std::as_const(order)) {
        const auto listed = askForSites(host, url, key);
        if (!listed) {
            break;  // it will not answer to another key either
        }
        lists.append({key, *listed});
    }
    for (const auto& [key, listed] : std::as_const(lists)) {
        bool anyHealthy = false;
        for (const QString& site : probedSites(listed)) {
            anyHealthy |= checkSite(host, site, key);
        }
        if (anyHealthy) {
            break;
        }
    }
    m_report.hosts.append(host);
}

/// The sites that the server lists for the key; nothing when it gave no reply.
std::optional<QJsonArray> OperatorCheck::askForSites(HostState& host, const QUrl& url, const QString& key)
{
    const QString step = said({u"Operator's server %1", u"Сервер оператора %1"}).arg(host.url);
    const http::ExchangeRecord exchange =
        askOperator(m_examined, step, url, "/cdn/info", key, "getInfoTimeout");
    const QJsonArray listed = exchange.response.responseObject().value(QLatin1String("hosts")).toArray();
    if (host.keys.isEmpty()) {
        describe(host, exchange);
        judge(host, exchange);
    }
    if (!key.isEmpty()) {
        judgeKey(host, key, exchange, listed);
    }
    return troubleOf(exchange) ? std::nullopt : std::optional(listed);
}

void OperatorCheck::describe(HostState& host, const http::ExchangeRecord& exchange) const
{
    const http::Transport& transport = exchange.transport;
    const bool isTls = exchange.response.url().scheme() == QLatin1String("https");
    host.peer = transport.peer;
    host.resolved = transport.stage > http::Stage::LookUp;
    host.connected = transport.stage > http::Stage::Connect;
    if (isTls && host.connected) {
        host.secured = transport.stage == http::Stage::Talk;
    }
    host.certificateEnd = transport.certificateEnd;
    if (transport.serverTime.isValid()) {
        const QDateTime sent = QDateTime::currentDateTimeUtc().addMSecs(-elapsedOf(exchange).count() / 2);
        host.clockSkew = seconds(sent.secsTo(transport.serverTime));
    }
}

void OperatorCheck::judge(const HostState& host, const http::ExchangeRecord& exchange)
{
    if (const Trouble trouble = troubleOf(exchange)) {
        m_report.add(Level::Bad, Area::Hosts, trouble.id, host.url, trouble.text, trouble.advice);
        return;
    }
    QStringList facts = {host.peer};
    if (host.certificateEnd.isValid()) {
        facts.append(said({u"TLS, certificate until %1", u"TLS, сертификат до %1"})
                         .arg(host.certificateEnd.toLocalTime().toString(QStringLiteral("dd.MM.yyyy"))));
    }
    if (host.clockSkew) {
        facts.append(said({u"clocks differ by %1 s", u"часы расходятся на %1 с"})
                         .arg(std::abs(host.clockSkew->count())));
    }
    facts.append(said({u"%1 ms", u"%1 мс"}).arg(elapsedOf(exchange).count()));
    m_report.add(Level::Good, Area::Hosts, "host", host.url,
                 said({u"answers: ", u"отвечает: "}) + facts.join(QLatin1String(", ")));
    const auto daysLeft = QDateTime::currentDateTimeUtc().daysTo(host.certificateEnd);
    if (host.certificateEnd.isValid() && daysLeft < daysOfWarning) {
        m_report.add(
            Level::Note, Area::Hosts, "certificate-ends-soon", host.url,
            said({u"days left of the server's certificate: %1", u"сертификату сервера осталось дней: %1"})
                .arg(daysLeft));
    }
    judgeClock(host);
}

/// Once: every server would say the same of this machine's clock.
void OperatorCheck::judgeClock(const HostState& host)
{
    if (m_clockJudged || !host.clockSkew || std::chrono::abs(*host.clockSkew) <= maxClockSkew) {
        return;
    }
    m_clockJudged = true;
    const bool isBehind = host.clockSkew->count() > 0;
    m_report.add(Level::Bad, Area::Hosts, "clock-skew", host.url,
                 said({u"the till's clock is %2 s %1", u"часы кассы %1 на %2 с"})
                     .arg(isBehind ? said({u"slow", u"отстают"}) : said({u"fast", u"спешат"}))
                     .arg(std::abs(host.clockSkew->count())),
                 said({u"switch the synchronisation of time on: timedatectl set-ntp true",
                       u"включите синхронизацию времени: timedatectl set-ntp true"}));
}

void OperatorCheck::judgeKey(HostState& host, const QString& key, const http::ExchangeRecord& exchange,
                             const QJsonArray& listed)
{
    KeyState state{masked(key), {}, exchange.response.status(), elapsedOf(exchange)};
    const QString place =
        m_keys.size() > 1
            ? said({u"key %1 of %2, ", u"ключ %1 из %2, "}).arg(m_keys.indexOf(key) + 1).arg(m_keys.size())
            : QString();
    const QString subject = said({u"%1%2 at %3", u"%1%2 на %3"}).arg(place, state.key, host.url);
    if (!troubleOf(exchange)) {
        const KeyVerdict& verdict = keyVerdictOf(state.httpStatus);
        state.accepted = verdict.accepted;
        m_report.add(verdict.level, Area::Keys, verdict.id, subject,
                     said(verdict.text).replace(QLatin1String("%1"), QString::number(state.httpStatus)),
                     said(verdict.advice));
    }
    if (state.accepted.value_or(false) && listed.isEmpty()) {
        m_report.add(Level::Bad, Area::Sites, "no-sites", subject,
                     said({u"the list has no site", u"в списке нет ни одной площадки"}),
                     said({u"try again later; if it stays so, turn to the operator",
                           u"повторите позже; если не пройдёт, обратитесь к оператору"}));
    }
    host.keys.append(state);
}

/// Whether it is healthy.
bool OperatorCheck::checkSite(const HostState& host, const QString& address, const QString& key)
{
    const QUrl url(address);
    SiteState site;
    site.site = shown(url);
    site.host = host.url;
    const QString step = said({u"Site %1", u"Площадка %1"}).arg(site.site);
    const http::ExchangeRecord exchange =
        askOperator(m_examined, step, url, "/cdn/health/check", key, "healthCheckTimeout");
    site.healthy = isHealthy(exchange.response.responseObject());
    site.httpStatus = exchange.response.status();
    site.elapsed = elapsedOf(exchange);
    m_report.sites.append(site);
    if (site.healthy) {
        judgeTime(site);
        return true;
    }
    if (const Trouble trouble = troubleOf(exchange)) {
        m_report.add(Level::Bad, Area::Sites, trouble.id, site.site, trouble.text, trouble.advice);
    } else {
        m_report.add(Level::Bad, Area::Sites, "site-unhealthy", site.site,
                     said({u"the site does not say that it is healthy (HTTP %1)",
                           u"площадка не сообщает, что исправна (HTTP %1)"})
                         .arg(site.httpStatus),
                     said({u"the till makes do with other sites; try again later",
                           u"касса обойдётся другими площадками; повторите позже"}));
    }
    return false;
}

void OperatorCheck::judgeTime(const SiteState& site)
{
    constexpr seconds ofPlugin{2};  // in place of 0
    const seconds set(m_examined.number(QStringLiteral("Host"), "requestTimeout"));
    const seconds limit = set.count() > 0 ? set : ofPlugin;
    if (site.elapsed > limit) {
        m_report.add(Level::Bad, Area::Sites, "site-slow", site.site,
                     said({u"answers in %1 ms, the limit of a check's request is %2 s",
                           u"отвечает за %1 мс, предел запроса проверки %2 с"})
                         .arg(site.elapsed.count())
                         .arg(limit.count()),
                     said({u"raise requestTimeout and operationTimeout or look at the network",
                           u"увеличьте requestTimeout и operationTimeout или проверьте сеть"}));
    }
}

void OperatorCheck::chooseSite()
{
    auto& sites = m_report.sites;
    const auto fastest =
        std::min_element(sites.begin(), sites.end(), [&](const auto& one, const auto& other) {
            return one.healthy != other.healthy ? one.healthy : one.elapsed < other.elapsed;
        });
    if (fastest == sites.end() || !fastest->healthy) {
        m_report.add(
            Level::Bad, Area::Sites, "no-healthy-site", said({u"sites", u"площадки"}),
            said({u"none is healthy: there will be no online check",
                  u"нет ни одной исправной: онлайн-проверки не будет"}),
            said({u"mend what is named above; until then only the local module gives verdicts",
                  u"устраните то, что названо выше; без этого вердикты даёт только локальный модуль"}));
        return;
    }
    fastest->chosen = true;
    const auto healthy =
        std::count_if(sites.begin(), sites.end(), [](const auto& site) { return site.healthy; });
    m_report.add(Level::Good, Area::Sites, "chosen-site", fastest->site,
                 said({u"healthy sites %1 of %2, this one would be asked first",
                       u"исправных площадок %1 из %2, первой была бы эта"})
                     .arg(healthy)
                     .arg(sites.size()));
}

}  // namespace

void checkOperator(const Examined& examined)
{
    std::set<QUrl> urls;  // in the plug-in's order
    for (const QString& host : examined.config.getList(QStringLiteral("Host:hosts"))) {
        const QUrl url = addressOf(host);
        if (isAskable(url)) {
            urls.insert(url);
        }
    }
    OperatorCheck check(examined);
    for (const QUrl& url : urls) {
        check.checkHost(url);
    }
    if (!urls.empty()) {
        check.chooseSite();
    }
}

}  // namespace poshost
