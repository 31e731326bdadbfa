#include "goods.h"

#include "jsonreader.h"

#include <QFile>
#include <QRegularExpression>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr auto longestCode = 4096;

/// "+30d", "-90m" and the like become a date in the operator's format; anything else stays as it is.
QJsonValue resolvedDate(const QJsonValue& value)
{
    static const QRegularExpression relative(u"^([+-]\\d{1,6})([dhms])$"_s);
    const auto match = relative.match(value.toString());
    if (!match.hasMatch())
        return value;
    static const QMap<QString, qint64> seconds{{u"d"_s, 86400}, {u"h"_s, 3600}, {u"m"_s, 60}, {u"s"_s, 1}};
    const auto shift = match.captured(1).toLongLong() * seconds.value(match.captured(2));
    return QDateTime::currentDateTimeUtc().addSecs(shift).toString(Qt::ISODateWithMs);
}

QJsonObject withResolvedDates(QJsonObject members)
{
    for (const auto key : {"expireDate"_L1, "productionDate"_L1}) {
        if (members.contains(key))
            members[key] = resolvedDate(members[key]);
    }
    return members;
}

}  // namespace

Good Good::fromJson(const QJsonValue& source, const QString& where)
{
    JsonReader reader(source, where);
    const auto code = reader.text("code"_L1);
    if (!code || code->isEmpty() || code->size() > longestCode)
        reader.fail("code"_L1, u"must be the text of a marking code, 1 to %1 characters"_s.arg(longestCode));
    Good good;
    good.parts = readCode(*code);
    good.title = reader.text("title"_L1).value_or(QString());
    good.online = withResolvedDates(reader.object("online"_L1).value_or(QJsonObject()));
    good.offline = withResolvedDates(reader.object("offline"_L1).value_or(QJsonObject()));
    reader.finish();
    return good;
}

QJsonObject Good::toJson() const
{
    return {{"code"_L1, parts.text}, {"title"_L1, title}, {"online"_L1, online}, {"offline"_L1, offline}};
}

Goods Goods::builtIn()
{
    QFile file(u":/data/goods.json"_s);
    if (!file.open(QIODevice::ReadOnly))
        throw InputError(u"the packed goods are missing: the program was built wrongly"_s);
    return fromJson(file.readAll(), u"goods"_s);
}

Goods Goods::fromJson(const QByteArray& bytes, const QString& where)
{
    JsonReader reader(parseJson(bytes, where), where);
    const auto list = reader.array("goods"_L1);
    if (!list)
        reader.fail("goods"_L1, u"must be an array of goods"_s);
    reader.finish();
    Goods goods;
    for (qsizetype i = 0; i < list->size(); ++i)
        goods.put(Good::fromJson(list->at(i), u"%1.goods[%2]"_s.arg(where).arg(i)));
    return goods;
}

const Good* Goods::byCode(const QString& code) const
{
    const auto found = goods_.constFind(readCode(code).text);
    return found == goods_.cend() ? nullptr : &*found;
}

const Good* Goods::byCis(const QString& cis) const
{
    if (const auto* good = byCode(cis))
        return good;
    return byCode(textByCis_.value(readCode(cis).cis));
}

void Goods::put(Good good)
{
    textByCis_[good.parts.cis] = good.parts.text;
    const auto text = good.parts.text;
    goods_[text] = std::move(good);
}

bool Goods::remove(const QString& code)
{
    const auto parts = readCode(code);
    if (goods_.remove(parts.text) == 0)
        return false;
    textByCis_.remove(parts.cis);
    return true;
}

}  // namespace marksim
