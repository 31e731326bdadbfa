#include "poshost/statustext.h"

#include <array>

namespace poshost {

namespace {

struct Entry
{
    CheckMarkingCodesResult::EStatus status;
    const char* name;
    const char* words;
};

constexpr std::array entries = {
    Entry{CheckMarkingCodesResult::NotInReply, "NotInReply", "в ответе ничего не сказано о коде"},
    Entry{CheckMarkingCodesResult::Unreachable, "Unreachable", "сервер проверки недоступен"},
    Entry{CheckMarkingCodesResult::NotValid, "NotValid", "неверная структура кода"},
    Entry{CheckMarkingCodesResult::NotVerified, "NotVerified", "криптоподпись не подтверждена"},
    Entry{CheckMarkingCodesResult::Expired, "Expired", "истёк срок годности"},
    Entry{CheckMarkingCodesResult::GrayZoneNotRealizable, "GrayZoneNotRealizable",
          "серая зона, продажа не разрешена"},
    Entry{CheckMarkingCodesResult::Sold, "Sold", "уже продан"},
    Entry{CheckMarkingCodesResult::NotUtilised, "NotUtilised", "код не нанесён на товар"},
    Entry{CheckMarkingCodesResult::NotRealizable, "NotRealizable", "не введён в оборот"},
    Entry{CheckMarkingCodesResult::NotFound, "NotFound", "код не найден"},
    Entry{CheckMarkingCodesResult::Blocked, "Blocked", "продажа заблокирована"},
    Entry{CheckMarkingCodesResult::NotOwner, "NotOwner", "товар числится за другим владельцем"},
    Entry{CheckMarkingCodesResult::GreyGtin, "GreyGtin", "GTIN в сером списке"},
    Entry{CheckMarkingCodesResult::ZeroWeight, "ZeroWeight", "нулевой вес"},
    Entry{CheckMarkingCodesResult::NotTracking, "NotTracking", "товар не отслеживается"},
};

QStringList textsOf(CheckMarkingCodesResult::Status status, const char* Entry::*text)
{
    QStringList texts;
    for (const Entry& entry : entries) {
        if (status.testFlag(entry.status)) {
            texts.append(QString::fromUtf8(entry.*text));
        }
    }
    return texts;
}

}  // namespace

QStringList statusNames(CheckMarkingCodesResult::Status status)
{
    return textsOf(status, &Entry::name);
}

QStringList statusWords(CheckMarkingCodesResult::Status status)
{
    return textsOf(status, &Entry::words);
}

QString errorKindWords(http::ErrorKind kind)
{
    switch (kind) {
    case http::ErrorKind::None:
        break;
    case http::ErrorKind::SalePermitted:
        return QStringLiteral("вердикта нет, продажа разрешена");
    case http::ErrorKind::Unreachable:
        return QStringLiteral("ни одна площадка не доступна");
    case http::ErrorKind::NoToken:
        return QStringLiteral("токен для проверки площадок не задан");
    }
    return {};
}

}  // namespace poshost
