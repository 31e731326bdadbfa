#include "poshost/reports/statustext.h"

#include <array>

#include "poshost/language.h"

namespace poshost {

namespace {

struct Entry
{
    CheckMarkingCodesResult::EStatus status;
    Text words;       ///< for people who know the system
    Text forCashier;  ///< plainly, with what to do where something can be done
};

constexpr std::array entries = {
    Entry{CheckMarkingCodesResult::NotInReply,
          {u"the reply says nothing of the code", u"в ответе ничего не сказано о коде"},
          {u"the server said nothing of this code: scan it again",
           u"сервер не ответил про этот код: отсканируйте ещё раз"}},
    Entry{CheckMarkingCodesResult::Unreachable,
          {u"the checking server is out of reach", u"сервер проверки недоступен"},
          {u"no connection to the checking server: try again later",
           u"нет связи с сервером проверки: повторите позже"}},
    Entry{CheckMarkingCodesResult::NotValid,
          {u"the code is malformed", u"неверная структура кода"},
          {u"the code is damaged or was misread: scan it again",
           u"код повреждён или считан неверно: отсканируйте ещё раз"}},
    Entry{CheckMarkingCodesResult::NotVerified,
          {u"crypto signature not confirmed", u"криптоподпись не подтверждена"},
          {u"the code is not genuine: its signature is not confirmed",
           u"код не настоящий: его подпись не подтверждена"}},
    Entry{CheckMarkingCodesResult::Expired,
          {u"expired", u"истёк срок годности"},
          {u"past its expiry date", u"срок годности истёк"}},
    Entry{CheckMarkingCodesResult::GrayZoneNotRealizable,
          {u"grey zone, sale not permitted", u"серая зона, продажа не разрешена"},
          {u"data of this good are incomplete, it must not be sold",
           u"товар с неполными данными, продавать его не разрешено"}},
    Entry{CheckMarkingCodesResult::Sold,
          {u"already sold", u"уже продан"},
          {u"this good has been sold already", u"этот товар уже продан"}},
    Entry{CheckMarkingCodesResult::NotUtilised,
          {u"code not applied to the good", u"код не нанесён на товар"},
          {u"the maker has not reported that the code is on the good",
           u"производитель не сообщил, что код нанесён на товар"}},
    Entry{CheckMarkingCodesResult::NotRealizable,
          {u"not in circulation", u"не введён в оборот"},
          {u"the good is not in circulation", u"товар не введён в оборот"}},
    Entry{CheckMarkingCodesResult::NotFound,
          {u"code not found", u"код не найден"},
          {u"the marking system has no such code", u"такого кода в системе маркировки нет"}},
    Entry{CheckMarkingCodesResult::Blocked,
          {u"sale blocked", u"продажа заблокирована"},
          {u"this good must not be sold", u"продажа этого товара запрещена"}},
    Entry{CheckMarkingCodesResult::NotOwner,
          {u"registered to another owner", u"товар числится за другим владельцем"},
          {u"the good is registered to another organisation", u"товар числится за другой организацией"}},
    Entry{CheckMarkingCodesResult::GreyGtin,
          {u"GTIN on the grey list", u"GTIN в сером списке"},
          {u"the good is on the grey list", u"товар в сером списке"}},
    Entry{CheckMarkingCodesResult::ZeroWeight,
          {u"zero weight", u"нулевой вес"},
          {u"the good weighs nothing in the marking system", u"вес товара в системе маркировки равен нулю"}},
    Entry{CheckMarkingCodesResult::NotTracking,
          {u"good not tracked", u"товар не отслеживается"},
          {u"the marking system does not track this good", u"товар не отслеживается системой маркировки"}},
};

constexpr int keyRefusedStatus = 401;

constexpr Text keyRefused = {u"key refused", u"ключ не принят"};
constexpr Text keyRefusedForCashier = {u"key refused: tell the administrator",
                                       u"ключ не принят: сообщите администратору"};

template <class Describe>
QStringList textsOf(CheckMarkingCodesResult::Status status, Describe describe)
{
    QStringList texts;
    for (const Entry& entry : entries) {
        if (status.testFlag(entry.status)) {
            texts.append(describe(entry));
        }
    }
    return texts;
}

QStringList reasonsOf(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal, Text Entry::*text,
                      const Text& ofRefusedKey)
{
    const CheckMarkingCodesResult::Status noVerdict =
        CheckMarkingCodesResult::NotInReply | CheckMarkingCodesResult::Unreachable;
    const bool isKeyRefused = (failed.status & noVerdict) != 0 && failed.errorCode == keyRefusedStatus;
    return isKeyRefused ? QStringList(said(ofRefusedKey))
                        : textsOf(standingReasons(failed, deal),
                                  [text](const Entry& entry) { return said(entry.*text); });
}

}  // namespace

QStringList statusWords(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal)
{
    return reasonsOf(failed, deal, &Entry::words, keyRefused);
}

QStringList cashierWords(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal)
{
    return reasonsOf(failed, deal, &Entry::forCashier, keyRefusedForCashier);
}

QString forgivenWords()
{
    return said({u"the good was sold", u"товар был продан"});
}

QString standHead(bool hasStand)
{
    if (!hasStand) {
        return {};
    }
    return QStringLiteral("%1: %2\n")
        .arg(said({u"STAND", u"СТЕНД", true}),
             said({u"the test stand answers, not the operator", u"отвечает тестовый стенд, а не оператор"}));
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

QString whyNoVerdict(http::ErrorKind errorKind, int httpStatus, Deal deal)
{
    if (httpStatus == keyRefusedStatus) {
        return said(keyRefused);
    }
    switch (errorKind) {
    case http::ErrorKind::None:
        break;
    case http::ErrorKind::SalePermitted:
        return said(deal == Deal::Sale
                        ? Text{u"no verdict, sale permitted", u"вердикта нет, продажа разрешена"}
                        : Text{u"no verdict, refund permitted", u"вердикта нет, возврат разрешён"});
    case http::ErrorKind::Unreachable:
        return said({u"no site can be reached", u"ни одна площадка не доступна"});
    case http::ErrorKind::NoToken:
        return said({u"no token to check the sites with", u"токен для проверки площадок не задан"});
    }
    return {};
}

}  // namespace poshost
