#include "stand/goods/goods.h"

#include "stand/scenario/schema.h"

#include <QDateTime>
#include <QRegularExpression>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

/// "+30d", "-90m" and the like become a date in the operator's format; anything else stays as it is.
QJsonValue resolvedDate(const QJsonValue& value)
{
    static const QRegularExpression relative(u"^([+-]\\d{1,6})([dhms])$"_s);
    const auto match = relative.match(value.toString());
    if (!match.hasMatch()) {
        return value;
    }
    static const QMap<QString, qint64> seconds{{u"d"_s, 86400}, {u"h"_s, 3600}, {u"m"_s, 60}, {u"s"_s, 1}};
    const auto shift = match.captured(1).toLongLong() * seconds.value(match.captured(2));
    return QDateTime::currentDateTimeUtc().addSecs(shift).toString(Qt::ISODateWithMs);
}

QJsonObject withResolvedDates(QJsonObject members)
{
    for (const auto key : {"expireDate"_L1, "productionDate"_L1}) {
        if (members.contains(key)) {
            members[key] = resolvedDate(members[key]);
        }
    }
    return members;
}

}  // namespace

Good Good::fromJson(const QJsonValue& source)
{
    return {readCode(source["code"_L1].toString()), source["title"_L1].toString(),
            withResolvedDates(source["online"_L1].toObject()),
            withResolvedDates(source["offline"_L1].toObject())};
}

QJsonObject Good::toJson() const
{
    return {{"code"_L1, parts.text}, {"title"_L1, title}, {"online"_L1, online}, {"offline"_L1, offline}};
}

Goods Goods::fromFile(const QString& path)
{
    const auto source = parseJson(readFile(path.isEmpty() ? u":/data/goods.json"_s : path), path);
    validate(source, path, "goodsFile"_L1);
    Goods goods;
    goods.putAll(source["goods"_L1]);
    return goods;
}

const Good* Goods::byCode(const QString& code) const
{
    const auto found = m_goods.constFind(readCode(code).text);
    return found == m_goods.cend() ? nullptr : &*found;
}

const Good* Goods::byCis(const QString& cis) const
{
    if (const auto* good = byCode(cis)) {
        return good;
    }
    // A code's text begins with its identifying part, so those with this one stand close together.
    const auto wanted = readCode(cis).cis;
    for (auto good = m_goods.lowerBound(wanted); good != m_goods.cend() && good.key().startsWith(wanted);
         ++good) {
        if (good->parts.cis == wanted) {
            return &*good;
        }
    }
    return nullptr;
}

void Goods::put(const Good& good)
{
    m_goods[good.parts.text] = good;
}

void Goods::putAll(const QJsonValue& goods)
{
    const auto list = goods.toArray();
    for (const auto& good : list) {
        put(Good::fromJson(good));
    }
}

bool Goods::remove(const QString& code)
{
    return m_goods.remove(readCode(code).text) > 0;
}

}  // namespace marksim
