#include "stand/admin/tillsettings.h"

#include <QJsonArray>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

QString operatorSettings(const QJsonObject& addresses)
{
    QStringList hosts;
    const auto operators = addresses["operators"_L1].toArray();
    for (const auto& host : operators) {
        hosts << host["url"_L1].toString();
    }
    const auto keys = addresses["keys"_L1].toVariant().toStringList();
    return u"[Host]\nhosts = %1\nkeys = %2\napiKey = %3\n\n[MarkedGoods]\nmarkverifycrptservice = crpt\n"_s
        .arg(hosts.join(u','), keys.join(u','), keys.value(0));
}

QString moduleSettings(const QJsonValue& module, qsizetype number)
{
    auto text = u"\n[LMCHZ%1]\nenable = true\n"_s.arg(number);
    for (const auto key : {"token"_L1, "url"_L1, "user"_L1, "password"_L1}) {
        text += key + u" = "_s + module[key].toString() + u'\n';
    }
    return text + u"maintain = true\n"_s;
}

}  // namespace

QString tillSettings(const QJsonObject& addresses)
{
    auto text = operatorSettings(addresses);
    if (const auto caFile = addresses["caFile"_L1].toString(); !caFile.isEmpty()) {
        text += u"\n[Network]\ncaFile = %1\n"_s.arg(caFile);
    }
    const auto modules = addresses["modules"_L1].toArray();
    for (qsizetype i = 0; i < modules.size(); ++i) {
        text += moduleSettings(modules[i], i + 1);
    }
    return text;
}

}  // namespace marksim
