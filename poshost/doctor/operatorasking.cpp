#include "poshost/doctor/operatorasking.h"

#include <algorithm>
#include <array>

#include "poshost/settings/values.h"

namespace poshost {

namespace {

constexpr auto apiPath = QLatin1String("/api/v4/true-api");

constexpr Text notTheOperator = {u"HTTP %1: not the server that gives the list of sites",
                                 u"HTTP %1: отвечает не тот, кто выдаёт список площадок"};
constexpr Text lookForProxy = {
    u"look at the server's address, and whether a proxy or filter answers in its place",
    u"проверьте адрес сервера и то, не отвечает ли вместо него прокси или фильтр"};
constexpr Text overloaded = {u"the server is overloaded or out of order (HTTP %1)",
                             u"сервер перегружен или неисправен (HTTP %1)"};
constexpr Text tryLater = {u"try again later; meanwhile the till sells by the local module",
                           u"повторите позже; касса это время продаёт по локальному модулю"};

/// The first row that holds the status is it.
constexpr std::array verdicts = {
    KeyVerdict{200, 200, true, Level::Good, "key-accepted", {u"key accepted", u"ключ принят"}, {}},
    KeyVerdict{203,
               203,
               true,
               Level::Note,
               "emergency",
               {u"the operator has declared an emergency (HTTP %1): sales are permitted without a check",
                u"оператор объявил аварийный режим (HTTP %1): продажа разрешена без проверки"},
               {}},
    KeyVerdict{401,
               401,
               false,
               Level::Bad,
               "key-refused",
               {u"key refused (HTTP %1)", u"ключ не принят (HTTP %1)"},
               {u"have a key issued in your account with the operator and write it into the settings",
                u"выпустите ключ в личном кабинете оператора и впишите его в настройки"}},
    KeyVerdict{403, 403, false, Level::Bad, "forbidden", notTheOperator, lookForProxy},
    KeyVerdict{404, 404, false, Level::Bad, "not-found", notTheOperator, lookForProxy},
    KeyVerdict{429, 429, false, Level::Bad, "server-error", overloaded, tryLater},
    KeyVerdict{500, 599, false, Level::Bad, "server-error", overloaded, tryLater},
    KeyVerdict{0,
               999,
               false,
               Level::Bad,
               "not-understood",
               {u"the server did not understand the request (HTTP %1)", u"сервер не понял запроса (HTTP %1)"},
               {u"look at the server's address: it may be another server",
                u"проверьте адрес сервера: это может быть другой сервер"}},
};

/// With one slash less at its end, as the plug-in reads it.
QUrl baseOf(QUrl url)
{
    if (const QString path = url.path(QUrl::FullyDecoded); path.endsWith(u'/')) {
        url.setPath(path.chopped(1), QUrl::DecodedMode);
    }
    return methodUrl(url, apiPath);
}

}  // namespace

http::ExchangeRecord askOperator(const Examined& examined, const QString& step, const QUrl& base,
                                 const char* path, const QString& key, const char* limit)
{
    return ask(step, methodUrl(baseOf(base), QLatin1String(path)),
               {{QStringLiteral("X-API-KEY"), key},
                {QStringLiteral("Accept"), QStringLiteral("application/json")},
                {QStringLiteral("Connection"), QStringLiteral("close")}},
               std::chrono::seconds(examined.number(QStringLiteral("CRPT"), limit)));
}

bool isHealthy(const QJsonObject& reply)
{
    const auto code = reply.find(QLatin1String("code"));
    return code != reply.end() && code->toInt(0) == 0;
}

const KeyVerdict& keyVerdictOf(int httpStatus)
{
    return *std::find_if(verdicts.begin(), verdicts.end() - 1, [httpStatus](const KeyVerdict& verdict) {
        return verdict.first <= httpStatus && httpStatus <= verdict.last;
    });
}

}  // namespace poshost
