#include "crpt/crptclient.h"

#include <algorithm>

#include <QJsonObject>

#include "crpt/resultfitting.h"
#include <log4qt/logger.h>

namespace {

constexpr std::chrono::milliseconds ShortestLimit = std::chrono::seconds(2);

QString readable(const QList<MarkingCode>& codes)
{
    QStringList texts;
    texts.reserve(codes.size());
    for (const MarkingCode& code : codes) {
        texts.append(code.toReadable());
    }
    return texts.join(QStringLiteral(", "));
}

QJsonDocument checkBody(const QList<MarkingCode>& codes)
{
    QJsonArray texts;
    for (const MarkingCode& code : codes) {
        texts.append(code.toString());
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("codes"), texts}});
}

}  // namespace

/// Made once for a key. The HTTP client sees at a glance then that they are those of the request before.
QHash<QString, QString> CrptClient::checkHeaders(const QString& apiKey)
{
    const std::lock_guard lock(headersMutex);
    if (lastCheckHeaders.isEmpty() || lastCheckKey != apiKey) {
        lastCheckKey = apiKey;
        lastCheckHeaders = {
            {QStringLiteral("Content-Type"), QStringLiteral("application/json")},
            {QStringLiteral("Accept"), QStringLiteral("application/json")},
            {QStringLiteral("Connection"), QStringLiteral("keep-alive")},
            {QStringLiteral("X-API-KEY"), apiKey},
        };
    }
    return lastCheckHeaders;
}

CheckMarkingCodesResult CrptClient::checkMarkingCodes(const QString& apiKey, const QList<MarkingCode>& codes,
                                                      std::chrono::milliseconds operationTimeout,
                                                      std::chrono::milliseconds requestTimeout)
{
    if (logger->isEnabledFor(Log4Qt::Level::Info)) {
        logger->info(QStringLiteral("Проверка кодов маркировок: [%1]"), readable(codes));
    }
    const http::Response response =
        request(checkHeaders(apiKey), checkBody(codes), std::max(operationTimeout, ShortestLimit),
                std::max(requestTimeout, ShortestLimit));
    CheckMarkingCodesResult result{CheckMarkingCodesReply(response)};
    fitToErrorKind(result, codes);
    return result;
}
