#include "stand/scenario/scenario.h"

#include "stand/scenario/schema.h"

#include <QDir>
#include <algorithm>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

QList<ShippedScenario> readShipped()
{
    QList<ShippedScenario> all;
    const auto entries = QDir(u":/scenarios"_s).entryInfoList(QDir::Files, QDir::Name);
    for (const auto& entry : entries) {
        const auto source = parseJson(readFile(entry.filePath()), entry.fileName());
        validate(source["stand"_L1].toObject(), entry.fileName());
        all.append({entry.completeBaseName(), source["shows"_L1].toString(), source["settings"_L1].toObject(),
                    source["stand"_L1].toObject()});
    }
    return all;
}

}  // namespace

QJsonObject readScenario(const QString& path)
{
    if (!QFileInfo::exists(path)) {
        QStringList names;
        for (const auto& shipped : shippedScenarios()) {
            names << shipped.name;
        }
        throw InputError(u"%1: there is no such file, and no such scenario is shipped; those are %2"_s.arg(
            path, names.join(u", "_s)));
    }
    const auto scenario = parseJson(readFile(path), path);
    validate(scenario, path);
    return scenario.toObject();
}

const QList<ShippedScenario>& shippedScenarios()
{
    static const auto all = readShipped();
    return all;
}

const ShippedScenario* findShipped(const QString& name)
{
    const auto& all = shippedScenarios();
    const auto found = std::ranges::find(all, name, &ShippedScenario::name);
    return found == all.end() ? nullptr : &*found;
}

}  // namespace marksim
