#include "poshost/settings/certificates.h"

#include <QFile>
#include <QRegularExpression>

namespace poshost {

bool holdsCertificates(const QString& name)
{
    static const QRegularExpression head(QStringLiteral("-----BEGIN ([A-Z0-9]+ )?CERTIFICATE-----"));
    QFile file(name);
    return file.open(QIODevice::ReadOnly) && QString::fromLatin1(file.readAll()).contains(head);
}

}  // namespace poshost
