#include "contracts/service.h"

#include <QStringList>

int contracts::serviceNumber(const QString& name)
{
    static const QStringList services = {QStringLiteral("crpt"), QStringLiteral("turon"),
                                         QStringLiteral("esm")};
    return int(services.indexOf(name.toLower())) + 1;
}
