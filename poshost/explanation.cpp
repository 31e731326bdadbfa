#include "poshost/explanation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include <QJsonObject>

#include "poshost/replyclass.h"
#include <utils/markingcode.h>

namespace poshost {

namespace {

using std::chrono::nanoseconds;

struct PurposeEntry
{
    const char* pathEnd;
    const char* name;
    const char* words;
};

/// By Purpose.
constexpr std::array<PurposeEntry, purposes> purposeEntries = {{
    {"/codes/check", "check", "проверка кодов"},
    {"/cdn/info", "list", "список площадок"},
    {"/cdn/health/check", "probe", "замер площадки"},
    {"/api/v2/status", "module-status", "состояние локального модуля"},
    {"/api/v2/cis/outCheck", "module-check", "проверка локальным модулем"},
    {"", "other", "другой запрос"},
}};

struct DeedRule
{
    const char* lineStart;
    Deed deed;
};

constexpr const char* switching = "switch";

/// The lines of the log that tell of deeds, by how they begin.
constexpr std::array deedRules = {
    DeedRule{"Площадка ", {"quarantine", "площадка снята на 15 минут"}},
    DeedRule{"Переключение на следующую CDN-площадку", {switching, "переход к следующей площадке"}},
    DeedRule{"Нет доступных площадок, пытаемся обновить",
             {"search", "доступных площадок нет, список запрашивается"}},
    DeedRule{"Процесс обновления списка", {"wait", "список уже обновляет другой поток, проверка ждёт"}},
    DeedRule{"Некорректное состояние площадки", {"left-out", "в список не взята"}},
    DeedRule{"Выбрана CDN: ", {"list-updated", "список площадок обновлён"}},
    DeedRule{"Не удалось обновить список площадок", {"list-failed", "обновить список не удалось"}},
    DeedRule{"Обновление списка площадок прервано", {"list-failed", "обновление списка прервано"}},
    DeedRule{"Нет ключей для работы", {"no-keys", "ключей нет, список запросить нечем"}},
    DeedRule{"Нет доступных площадок после", {"no-sites", "площадок нет и после обновления списка"}},
    DeedRule{"Сервис трансграничной проверки кодов недоступен, повторный",
             {"retry", "повтор на той же площадке"}},
    DeedRule{"Сервис трансграничной проверки кодов недоступен, добавление",
             {"no-verdict", "оператор вердикта не даёт, продажу не запрещает"}},
    DeedRule{"В ГИС МТ введена аварийная ситуация",
             {"no-verdict", "оператор вердикта не даёт, продажу не запрещает"}},
    DeedRule{"Суммарное время ожидания ответа",
             {"out-of-time", "время всей проверки вышло, вердикта оператора нет"}},
    DeedRule{"Токен для проверки доступных площадок не задан",
             {"no-token", "токена нет, товар не добавляется"}},
    DeedRule{"Ошибка авторизации", {"token-notice", "сообщение кассиру: ключ не принят"}},
    DeedRule{"Ошибка протокола", {"taken-as-it-is", "ответ взят как есть"}},
    DeedRule{"ЛМЧЗ не готов к работе", {"module-not-ready", "остаётся итог онлайн-проверки"}},
    DeedRule{"Токен для проверки товара в ЛМЧЗ не найден",
             {"module-unknown", "для этого ключа локального модуля нет"}},
    DeedRule{"Проверка в режиме офлайн", {"offline", "вердикт спрашивается у локального модуля"}},
    DeedRule{"Проверка через ЛМЧЗ недоступна", {"module-unavailable", "остаётся итог онлайн-проверки"}},
    DeedRule{"Проверка кодов маркировок прервана", {"broken", "проверка прервана"}},
};

Purpose purposeOf(const QUrl& url)
{
    const QString path = url.path();
    const auto* found =
        std::find_if(purposeEntries.begin(), purposeEntries.end(),
                     [&](const PurposeEntry& entry) { return path.endsWith(QLatin1String(entry.pathEnd)); });
    return Purpose(found - purposeEntries.begin());  // the last one fits every path
}

void setClass(Step& step, const char* name, const QString& words)
{
    step.className = QString::fromUtf8(name);
    step.classWords = words;
}

void setClass(Step& step, ReplyClass replyClass)
{
    step.className = className(replyClass);
    step.classWords = classWords(replyClass);
}

void classifyProbe(Step& step, const http::Response& reply)
{
    const QJsonValue code = reply.responseObject().value(QLatin1String("code"));
    const bool healthy = !code.isUndefined() && code.toInt() == 0;
    setClass(step, healthy ? "healthy" : "unhealthy",
             healthy ? QStringLiteral("площадка исправна") : QStringLiteral("площадка неисправна"));
}

void classifyModuleStatus(Step& step, const http::Response& reply)
{
    const QString state = reply.responseObject().value(QLatin1String("status")).toString();
    if (state == QLatin1String("ready")) {
        setClass(step, "ready", QStringLiteral("модуль готов"));
    } else {
        constexpr qsizetype enough = 40;
        setClass(step, "not-ready",
                 QStringLiteral("модуль не готов (%1)")
                     .arg(MarkingCode(state.simplified().left(enough)).toReadable()));
    }
}

void classify(Step& step, const http::Response& reply)
{
    const bool nothingCame = reply.isTimeout() || reply.isNetworkError();
    if (step.purpose == Purpose::Check || step.purpose == Purpose::SiteList) {
        setClass(step, classOf(reply));
    } else if (nothingCame) {
        setClass(step, reply.isTimeout() ? ReplyClass::Timeout : ReplyClass::NetworkError);
    } else if (step.purpose == Purpose::Probe) {
        classifyProbe(step, reply);
    } else if (step.purpose == Purpose::ModuleStatus) {
        classifyModuleStatus(step, reply);
    } else {
        constexpr int httpOk = 200;
        const bool answered = reply.status() == httpOk;
        setClass(step, answered ? "answered" : "not-answered",
                 answered ? QStringLiteral("ответ получен") : QStringLiteral("не ответил"));
    }
}

Step stepOf(const http::ExchangeRecord& exchange, std::chrono::steady_clock::time_point begin)
{
    const http::Response& reply = exchange.response;
    Step step;
    step.purpose = purposeOf(reply.url());
    step.post = exchange.post;
    step.address =
        reply.url().toDisplayString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
    step.httpStatus = reply.status();
    // A copy of the characters: the text may lie in the plug-in's library.
    step.error = MarkingCode(reply.errorText().ru().simplified()).toReadable();
    step.at = exchange.begin - begin;
    step.duration = exchange.duration;
    classify(step, reply);
    return step;
}

void addDeed(QList<Deed>& deeds, const QString& line)
{
    const auto* rule = std::find_if(deedRules.begin(), deedRules.end(), [&](const DeedRule& candidate) {
        return line.startsWith(QString::fromUtf8(candidate.lineStart));
    });
    const bool repeats =
        rule != deedRules.end() && !deeds.isEmpty() && std::strcmp(deeds.last().name, rule->deed.name) == 0;
    if (rule != deedRules.end() && !repeats) {
        deeds.append(rule->deed);
    }
}

/// The log announces a switch before anybody knows whether there is another site.
void dropVainSwitches(QList<Step>& steps)
{
    for (qsizetype i = 0; i < steps.size(); ++i) {
        const bool followed = i + 1 < steps.size() && steps[i + 1].purpose == Purpose::Check;
        if (!followed) {
            steps[i].done.removeIf([](const Deed& deed) { return std::string_view(deed.name) == switching; });
        }
    }
}

}  // namespace

nanoseconds Explanation::spentOn(Purpose purpose) const
{
    nanoseconds sum{0};
    for (const Step& step : steps) {
        sum += step.purpose == purpose ? step.duration : nanoseconds{0};
    }
    return sum;
}

nanoseconds Explanation::spentOnRequests() const
{
    nanoseconds sum{0};
    for (const Step& step : steps) {
        sum += step.duration;
    }
    return sum;
}

QString purposeName(Purpose purpose)
{
    return QString::fromUtf8(purposeEntries.at(size_t(purpose)).name);
}

QString purposeWords(Purpose purpose)
{
    return QString::fromUtf8(purposeEntries.at(size_t(purpose)).words);
}

Explanation explain(const QList<TraceEntry>& entries, std::chrono::steady_clock::time_point begin,
                    std::chrono::steady_clock::time_point end)
{
    Explanation story;
    story.total = end - begin;
    for (const TraceEntry& entry : entries) {
        if (const auto* exchange = std::get_if<http::ExchangeRecord>(&entry)) {
            story.steps.append(stepOf(*exchange, begin));
        } else {
            addDeed(story.steps.isEmpty() ? story.before : story.steps.last().done, std::get<QString>(entry));
        }
    }
    dropVainSwitches(story.steps);
    return story;
}

}  // namespace poshost
