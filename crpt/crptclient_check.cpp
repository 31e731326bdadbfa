#include "crpt/crptclient.h"

#include <algorithm>

#include <QJsonObject>

#include "crpt/messages.h"
#include "crpt/resultfitting.h"
#include <log4qt/logger.h>

namespace {

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

QHash<QString, QString> checkHeaders(const QString& apiKey)
{
    return {
        {QStringLiteral("Content-Type"), QStringLiteral("application/json")},
        {QStringLiteral("Accept"), QStringLiteral("application/json")},
        {QStringLiteral("Connection"), QStringLiteral("keep-alive")},
        {QStringLiteral("X-API-KEY"), apiKey},
    };
}

}  // namespace

CheckMarkingCodesResult CrptClient::checkMarkingCodes(const QString& apiKey, const QList<MarkingCode>& codes,
                                                      std::chrono::milliseconds operationTimeout,
                                                      std::chrono::milliseconds requestTimeout)
{
    if (logger->isEnabledFor(Log4Qt::Level::Info)) {
        logger->info(crpt::messages::checkBegins, readable(codes));
    }
    const http::Response response =
        request(checkHeaders(apiKey), checkBody(codes), std::max(operationTimeout, minTimeLimit),
                std::max(requestTimeout, minTimeLimit));
    CheckMarkingCodesResult result{CheckMarkingCodesReply(response)};
    fitToErrorKind(result, codes);
    return result;
}
