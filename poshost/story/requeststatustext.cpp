#include "poshost/story/requeststatustext.h"

#include <array>

#include "poshost/language.h"

namespace poshost {

namespace {

struct Texts
{
    const char* name;
    Text words;
};

/// By RequestStatus.
constexpr std::array<Texts, 9> texts = {{
    {"ok", {u"reply accepted", u"ответ принят"}},
    {"failed", {u"reply without \"ok\", taken as it is", u"ответ без «ok», принят как есть"}},
    {"server-error", {u"server error", u"ошибка сервера"}},
    {"cross-border-unavailable",
     {u"no connection to the cross-border check", u"нет связи с трансграничной проверкой"}},
    {"emergency",
     {u"emergency, the ban on sales is lifted", u"аварийная ситуация, запрет на продажу отключён"}},
    {"incorrect-token", {u"key refused", u"ключ не принят"}},
    {"protocol-error", {u"protocol error", u"ошибка протокола"}},
    {"timeout", {u"timed out", u"время вышло"}},
    {"network-error", {u"no connection", u"нет связи"}},
}};

}  // namespace

QString className(RequestStatus status)
{
    return QString::fromUtf8(texts.at(size_t(status)).name);
}

QString classWords(RequestStatus status)
{
    return said(texts.at(size_t(status)).words);
}

}  // namespace poshost
