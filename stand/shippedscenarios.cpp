#include "shippedscenarios.h"

#include "jsonreader.h"

#include <QDir>
#include <QFile>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

QList<ShippedScenario> readAll()
{
    QList<ShippedScenario> all;
    const auto entries = QDir(u":/scenarios"_s).entryInfoList(QDir::Files, QDir::Name);
    for (const auto& entry : entries) {
        QFile file(entry.filePath());
        if (!file.open(QIODevice::ReadOnly))
            throw InputError(u"a packed scenario cannot be read: the program was built wrongly"_s);
        const auto source = parseJson(file.readAll(), entry.fileName()).toObject();
        all.append({entry.completeBaseName(), source["shows"_L1].toString(), source["settings"_L1].toObject(),
                    source["stand"_L1].toObject()});
    }
    return all;
}

}  // namespace

const QList<ShippedScenario>& shippedScenarios()
{
    static const auto all = readAll();
    return all;
}

}  // namespace marksim
