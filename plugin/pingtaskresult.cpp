#include "plugin/pingtaskresult.h"

QString PingTaskResult::toString() const
{
    return QStringLiteral("сервер доступен - %1")
        .arg(available ? QStringLiteral("true") : QStringLiteral("false"));
}
