#include "poshost/pluginfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include "poshost/failure.h"

namespace poshost {

QString findPlugin(const QString& named)
{
    if (!named.isEmpty()) {
        return named;
    }
    const QDir beside(QCoreApplication::applicationDirPath());
    const QString libraries = QStringLiteral("../" POSHOST_LIBDIR);
    const QString architecture = QStringLiteral("../lib/" POSHOST_ARCHITECTURE);
    for (const QString& folder : {QStringLiteral("../lib"), libraries + QLatin1String("/crptservice"),
                                  architecture + QLatin1String("/crptservice")}) {
        QString file = QDir::cleanPath(beside.filePath(folder + QLatin1String("/libcrptservice.so")));
        if (QFileInfo(file).isFile()) {
            return file;
        }
    }
    refuse(QStringLiteral("no libcrptservice.so beside %1; name it with --plugin or [Host] plugin")
               .arg(beside.path()));
}

}  // namespace poshost
