#pragma once

#include <QJsonObject>

#include "poshost/doctor/asking.h"
#include "poshost/doctor/examination.h"
#include "poshost/language.h"

namespace poshost {

/// Asks a method of the operator's server or of a site, as the plug-in does. `limit` is the key of [CRPT]
/// that limits the request, `step` what is shown meanwhile.
[[nodiscard]] http::ExchangeRecord askOperator(const Examined& examined, const QString& step,
                                               const QUrl& base, const char* path, const QString& key,
                                               const char* limit);

/// Whether a site says so of itself.
[[nodiscard]] bool isHealthy(const QJsonObject& reply);

/// What a complete reply to the request for the sites says of the key.
struct KeyVerdict
{
    int first;  ///< HTTP status
    int last;
    bool accepted;
    Level level;
    const char* id;
    Text text;  ///< with the status for "%1"
    Text advice;
};
[[nodiscard]] const KeyVerdict& keyVerdictOf(int httpStatus);

}  // namespace poshost
