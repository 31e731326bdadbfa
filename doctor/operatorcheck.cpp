#include "doctor/operatorcheck.h"

#include <algorithm>

#include <QMap>
#include <QUrl>

#include "crpt/crptclient.h"
#include "crpt/requeststatus.h"
#include "doctor/address.h"
#include "doctor/exchangewatch.h"
#include "doctor/trouble.h"

namespace doctor {

namespace {

using std::chrono::seconds;

constexpr seconds LargestSkew{60};
constexpr int DaysOfWarning = 14;

struct Verdict
{
    bool accepted;
    Level level;
    const char* id;
    QString text;
    QString advice;
};

/// What the complete reply to the request for the sites says of the key.
Verdict verdictOf(const http::Response& reply)
{
    const int status = reply.status();
    const QString code = QStringLiteral("HTTP %1").arg(status);
    switch (requestStatusOf(reply)) {
    case RequestStatus::IncorrectToken:
        return {false, Level::Bad, "key-refused", QStringLiteral("ключ не принят (%1)").arg(code),
                QStringLiteral("выпустите ключ в личном кабинете оператора и впишите его в настройки")};
    case RequestStatus::NetworkError:
        return {false, Level::Bad, status == 403 ? "forbidden" : "not-found",
                QStringLiteral("%1: отвечает не тот, кто выдаёт список площадок").arg(code),
                QStringLiteral("проверьте адрес сервера и то, не отвечает ли вместо него прокси или фильтр")};
    case RequestStatus::ServerError:
    case RequestStatus::CrossBorderUnavailable:
        return {false, Level::Bad, "server-error",
                QStringLiteral("сервер перегружен или неисправен (%1)").arg(code),
                QStringLiteral("повторите позже; касса это время продаёт по локальному модулю")};
    case RequestStatus::Emergency:
        return {
            true,
            Level::Note,
            "emergency",
            QStringLiteral("оператор объявил аварийный режим (%1): продажа разрешена без проверки").arg(code),
            {}};
    case RequestStatus::Ok:
    case RequestStatus::Failed:
        if (status == 200) {
            return {true, Level::Good, "key-accepted", QStringLiteral("ключ принят"), {}};
        }
        break;
    default:
        break;
    }
    return {false, Level::Bad, "not-understood", QStringLiteral("сервер не понял запроса (%1)").arg(code),
            QStringLiteral("проверьте адрес сервера: это может быть другой сервер")};
}

class OperatorCheck
{
public:
    OperatorCheck(const OnStep& onStep, Report& report)
        : m_onStep(onStep)
        , m_report(report)
    {
    }

    void checkHost(const QUrl& url, const QStringList& keys);
    void chooseSite();

private:
    void describe(HostState& host, const http::ExchangeRecord& exchange) const;
    void judge(const HostState& host, const http::ExchangeRecord& exchange);
    bool tryKey(HostState& host, const QUrl& url, const QString& key, bool isFirst, QJsonArray& listed);
    void checkSites(const HostState& host, const QJsonArray& listed, const QString& key);
    bool checkSite(const HostState& host, const QJsonValue& element, const QString& key);

    const OnStep& m_onStep;
    Report& m_report;
    CrptClient m_client;
    ExchangeWatch m_watch;
    CDNInfos m_healthy;
    QList<qsizetype> m_places;  // of the healthy ones among the sites of the report
};

/// As the plug-in does it: the first key that brings healthy sites is the one whose sites count.
void OperatorCheck::checkHost(const QUrl& url, const QStringList& keys)
{
    HostState host;
    host.url = shown(url);
    bool isFirst = true;
    QMap<QString, QJsonArray> lists;
    QStringList order;
    for (const QString& key : keys) {
        QJsonArray listed;
        if (!tryKey(host, url, key, isFirst, listed)) {
            break;  // it will not answer to another key either
        }
        isFirst = false;
        if (!listed.isEmpty()) {
            order.append(key);
            lists.insert(key, listed);
        }
    }
    for (const QString& key : order) {
        const qsizetype before = m_healthy.size();
        checkSites(host, lists.value(key), key);
        if (m_healthy.size() > before) {
            break;
        }
    }
    m_report.hosts.append(host);
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
        facts.append(QStringLiteral("TLS, сертификат до %1")
                         .arg(host.certificateEnd.toLocalTime().toString(QStringLiteral("dd.MM.yyyy"))));
    }
    if (host.clockSkew) {
        facts.append(QStringLiteral("часы расходятся на %1 с").arg(std::abs(host.clockSkew->count())));
    }
    facts.append(QStringLiteral("%1 мс").arg(elapsedOf(exchange).count()));
    m_report.add(Level::Good, Area::Hosts, "host", host.url,
                 QStringLiteral("отвечает: ") + facts.join(QLatin1String(", ")));
    const auto daysLeft = QDateTime::currentDateTimeUtc().daysTo(host.certificateEnd);
    if (host.certificateEnd.isValid() && daysLeft < DaysOfWarning) {
        m_report.add(Level::Note, Area::Hosts, "certificate-ends-soon", host.url,
                     QStringLiteral("сертификату сервера осталось дней: %1").arg(daysLeft));
    }
    if (host.clockSkew && std::chrono::abs(*host.clockSkew) > LargestSkew) {
        m_report.add(
            Level::Bad, Area::Hosts, "clock-skew", host.url,
            QStringLiteral("часы кассы расходятся с часами сервера на %1 с").arg(-host.clockSkew->count()),
            QStringLiteral("включите синхронизацию времени: timedatectl set-ntp true"));
    }
}

/// False when the host gave no reply.
bool OperatorCheck::tryKey(HostState& host, const QUrl& url, const QString& key, bool isFirst,
                           QJsonArray& listed)
{
    m_onStep(QStringLiteral("Сервер оператора %1").arg(host.url));
    listed = m_client.getCdnInfo(url, key);
    const http::ExchangeRecord exchange = m_watch.take();
    if (isFirst) {
        describe(host, exchange);
        judge(host, exchange);
    }
    KeyState state{masked(key), {}, exchange.response.status(), elapsedOf(exchange)};
    const Trouble trouble = troubleOf(exchange);
    if (!key.isEmpty()) {
        const QString subject = QStringLiteral("%1 на %2").arg(state.key, host.url);
        if (!trouble) {
            const Verdict verdict = verdictOf(exchange.response);
            state.accepted = verdict.accepted;
            m_report.add(verdict.level, Area::Keys, verdict.id, subject, verdict.text, verdict.advice);
        }
        if (state.accepted.value_or(false) && listed.isEmpty()) {
            m_report.add(Level::Bad, Area::Sites, "no-sites", subject,
                         QStringLiteral("в списке нет ни одной площадки"),
                         QStringLiteral("повторите позже; если не пройдёт, обратитесь к оператору"));
        }
        host.keys.append(state);
    }
    return !trouble;
}

void OperatorCheck::checkSites(const HostState& host, const QJsonArray& listed, const QString& key)
{
    for (const auto& element : listed) {
        if (checkSite(host, element, key)) {
            m_places.append(m_report.sites.size() - 1);
        }
    }
}

bool OperatorCheck::checkSite(const HostState& host, const QJsonValue& element, const QString& key)
{
    SiteState site;
    site.site = element[QLatin1String("host")].toString();
    site.host = host.url;
    if (site.site.isEmpty()) {
        return false;  // passed over by the plug-in too
    }
    m_onStep(QStringLiteral("Площадка %1").arg(site.site));
    const CDNInfos found = m_client.checkHealth({element}, key);
    const http::ExchangeRecord exchange = m_watch.take();
    site.healthy = !found.isEmpty();
    site.httpStatus = exchange.response.status();
    site.elapsed = elapsedOf(exchange);
    if (site.healthy) {
        m_healthy.append(found);
        site.elapsed = std::chrono::milliseconds(found.constFirst()->responseTime);  // what the choice is by
    } else if (const Trouble trouble = troubleOf(exchange)) {
        m_report.add(Level::Bad, Area::Sites, trouble.id, site.site, trouble.text, trouble.advice);
    } else {
        m_report.add(Level::Bad, Area::Sites, "site-unhealthy", site.site,
                     QStringLiteral("площадка не сообщает, что исправна (HTTP %1)").arg(site.httpStatus),
                     QStringLiteral("касса обойдётся другими площадками; повторите позже"));
    }
    m_report.sites.append(site);
    return site.healthy;
}

void OperatorCheck::chooseSite()
{
    if (m_healthy.isEmpty()) {
        m_report.add(Level::Bad, Area::Sites, "no-healthy-site", QStringLiteral("площадки"),
                     QStringLiteral("нет ни одной исправной: онлайн-проверки не будет"),
                     QStringLiteral(
                         "устраните то, что названо выше; без этого вердикты даёт только локальный модуль"));
        return;
    }
    CDNInfos sorted = m_healthy;
    sorted.sort();
    const auto place = m_healthy.indexOf(sorted.constFirst());
    m_report.sites[m_places[place]].chosen = true;
    m_report.add(Level::Good, Area::Sites, "chosen-site", sorted.constFirst()->host,
                 QStringLiteral("исправных площадок %1 из %2, первой была бы эта")
                     .arg(m_healthy.size())
                     .arg(m_report.sites.size()));
}

}  // namespace

void checkOperator(const QStringList& hosts, const QStringList& keys, const OnStep& onStep, Report& report)
{
    QMap<QUrl, bool> urls;  // in the plug-in's order
    for (const QString& host : hosts) {
        urls.insert(addressOf(host), true);
    }
    QStringList order(keys.rbegin(), keys.rend());  // the plug-in tries the last one given first
    order.removeDuplicates();
    if (order.isEmpty()) {
        order.append(QString());
    }
    OperatorCheck check(onStep, report);
    for (const QUrl& url : urls.keys()) {
        check.checkHost(url, order);
    }
    if (!urls.isEmpty()) {
        check.chooseSite();
    }
}

}  // namespace doctor
