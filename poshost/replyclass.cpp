#include "poshost/replyclass.h"

#include <array>

#include <QJsonObject>

namespace poshost {

namespace {

struct Entry
{
    const char* name;
    const char* words;
};

/// By ReplyClass.
constexpr std::array<Entry, 9> entries = {{
    {"ok", "ответ принят"},
    {"failed", "ответ без «ok», принят как есть"},
    {"server-error", "ошибка сервера"},
    {"cross-border-unavailable", "нет связи с трансграничной проверкой"},
    {"emergency", "аварийная ситуация, запрет на продажу отключён"},
    {"incorrect-token", "ключ не принят"},
    {"protocol-error", "ошибка протокола"},
    {"timeout", "время вышло"},
    {"network-error", "нет связи"},
}};

ReplyClass classOfServerError(const http::Response& reply)
{
    constexpr int crossBorder = 5000;
    return reply.responseObject().value(QLatin1String("code")).toInt() == crossBorder
               ? ReplyClass::CrossBorderUnavailable
               : ReplyClass::ServerError;
}

ReplyClass classOfBody(const QJsonObject& body)
{
    const bool ok = body.value(QLatin1String("code")).toInt(-1) == 0 &&
                    body.value(QLatin1String("description")).toString() == QLatin1String("ok");
    return ok ? ReplyClass::Ok : ReplyClass::Failed;
}

}  // namespace

ReplyClass classOf(const http::Response& reply)
{
    switch (const int status = reply.status()) {
    case 203:
        return ReplyClass::Emergency;
    case 401:
        return ReplyClass::IncorrectToken;
    case 403:
    case 404:
        return ReplyClass::NetworkError;
    case 429:
        return ReplyClass::ServerError;
    default:
        if (status >= 400 && status <= 499) {
            return ReplyClass::ProtocolError;
        }
        if (status >= 500 && status <= 599) {
            return classOfServerError(reply);
        }
        if (reply.isTimeout()) {
            return ReplyClass::Timeout;
        }
        return status == 0 || reply.isNetworkError() ? ReplyClass::NetworkError
                                                     : classOfBody(reply.responseObject());
    }
}

QString className(ReplyClass replyClass)
{
    return QString::fromUtf8(entries.at(size_t(replyClass)).name);
}

QString classWords(ReplyClass replyClass)
{
    return QString::fromUtf8(entries.at(size_t(replyClass)).words);
}

}  // namespace poshost
