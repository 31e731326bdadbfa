#include "poshost/reports/statustext.h"

#include <array>

namespace poshost {

namespace {

struct Entry
{
    CheckMarkingCodesResult::EStatus status;
    const char* name;
    const char* words;       ///< for people who know the system
    const char* forCashier;  ///< plainly, with what to do where something can be done
};

constexpr std::array entries = {
    Entry{CheckMarkingCodesResult::NotInReply, "NotInReply", "в ответе ничего не сказано о коде",
          "сервер не ответил про этот код: отсканируйте ещё раз"},
    Entry{CheckMarkingCodesResult::Unreachable, "Unreachable", "сервер проверки недоступен",
          "нет связи с сервером проверки: повторите позже"},
    Entry{CheckMarkingCodesResult::NotValid, "NotValid", "неверная структура кода",
          "код повреждён или считан неверно: отсканируйте ещё раз"},
    Entry{CheckMarkingCodesResult::NotVerified, "NotVerified", "криптоподпись не подтверждена",
          "код не настоящий: его подпись не подтверждена"},
    Entry{CheckMarkingCodesResult::Expired, "Expired", "истёк срок годности", "срок годности истёк"},
    Entry{CheckMarkingCodesResult::GrayZoneNotRealizable, "GrayZoneNotRealizable",
          "серая зона, продажа не разрешена", "товар с неполными данными, продавать его не разрешено"},
    Entry{CheckMarkingCodesResult::Sold, "Sold", "уже продан", "этот товар уже продан"},
    Entry{CheckMarkingCodesResult::NotUtilised, "NotUtilised", "код не нанесён на товар",
          "производитель не сообщил, что код нанесён на товар"},
    Entry{CheckMarkingCodesResult::NotRealizable, "NotRealizable", "не введён в оборот",
          "товар не введён в оборот"},
    Entry{CheckMarkingCodesResult::NotFound, "NotFound", "код не найден",
          "такого кода в системе маркировки нет"},
    Entry{CheckMarkingCodesResult::Blocked, "Blocked", "продажа заблокирована",
          "продажа этого товара запрещена"},
    Entry{CheckMarkingCodesResult::NotOwner, "NotOwner", "товар числится за другим владельцем",
          "товар числится за другой организацией"},
    Entry{CheckMarkingCodesResult::GreyGtin, "GreyGtin", "GTIN в сером списке", "товар в сером списке"},
    Entry{CheckMarkingCodesResult::ZeroWeight, "ZeroWeight", "нулевой вес",
          "вес товара в системе маркировки равен нулю"},
    Entry{CheckMarkingCodesResult::NotTracking, "NotTracking", "товар не отслеживается",
          "товар не отслеживается системой маркировки"},
};

struct ReplyClass
{
    const char* name;
    const char* words;
};

/// By RequestStatus.
constexpr std::array<ReplyClass, 9> replyClasses = {{
    {"ok", "ответ принят"},
    {"failed", "ответ без «ok», принят как есть"},
    {"server-error", "ошибка сервера"},
    {"cross-border-unavailable", "нет связи с трансграничной проверкой"},
    {"emergency", "аварийная ситуация, запрет на продажу отключён"},
    {"incorrect-token", "ключ не принят"},
    {"protocol-error", "ошибка протокола"},
    {"timeout", "время вышло"},
    {"network-error", "нет связи"},
}};

constexpr int keyRefusedStatus = 401;

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

QStringList reasonsOf(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal, const char* Entry::*text,
                      const QString& keyRefused)
{
    const CheckMarkingCodesResult::Status noVerdict =
        CheckMarkingCodesResult::NotInReply | CheckMarkingCodesResult::Unreachable;
    const bool isKeyRefused = (failed.status & noVerdict) != 0 && failed.errorCode == keyRefusedStatus;
    return isKeyRefused ? QStringList(keyRefused) : textsOf(standingReasons(failed, deal), text);
}

}  // namespace

QStringList statusNames(CheckMarkingCodesResult::Status status)
{
    return textsOf(status, &Entry::name);
}

QStringList statusWords(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal)
{
    return reasonsOf(failed, deal, &Entry::words, QStringLiteral("ключ не принят"));
}

QStringList cashierWords(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal)
{
    return reasonsOf(failed, deal, &Entry::forCashier,
                     QStringLiteral("ключ не принят: сообщите администратору"));
}

QString className(RequestStatus status)
{
    return QString::fromUtf8(replyClasses.at(size_t(status)).name);
}

QString classWords(RequestStatus status)
{
    return QString::fromUtf8(replyClasses.at(size_t(status)).words);
}

QString forgivenWords()
{
    return QStringLiteral("товар был продан");
}

QString standHead()
{
    return QStringLiteral("СТЕНД: отвечает тестовый стенд, а не оператор\n");
}

QJsonValue sourceName(Source source)
{
    switch (source) {
    case Source::Online:
        return QStringLiteral("online");
    case Source::Offline:
        return QStringLiteral("offline");
    case Source::Nowhere:
        break;
    }
    return {};
}

QString whyNoVerdict(http::ErrorKind errorKind, int httpStatus)
{
    if (httpStatus == keyRefusedStatus) {
        return QStringLiteral("ключ не принят");
    }
    switch (errorKind) {
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
