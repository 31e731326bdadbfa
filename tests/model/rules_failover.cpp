// The rules of searches, attempts and failover.

#include <algorithm>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "tests/model/replyclass.h"
#include "tests/model/rules.h"

using namespace Qt::StringLiterals;
using namespace std::string_view_literals;

bool Rules::isAvailable(const Site& site) const
{
    return site.available || site.until < m_world.wall();
}

bool Rules::hasAvailable(const Sites& among, const std::shared_ptr<Site>& besides) const
{
    return std::any_of(among.begin(), among.end(),
                       [&](const auto& site) { return site != besides && isAvailable(*site); });
}

int Rules::kindWithoutSites() const
{
    return !m_updateSucceeded || std::any_of(m_sites.begin(), m_sites.end(),
                                             [](const auto& site) { return site->networkError; })
               ? 2
               : 1;
}

void Rules::search(int& status)
{
    log(Warn, "Нет доступных площадок, пытаемся обновить список площадок");
    m_coverage["site found without an update"] += hasAvailable(m_sites);
    constexpr qint64 maxWait = 60'000'000'000;
    const qint64 begin = m_world.monotonic();
    while (!hasAvailable(m_sites)) {
        status = updateInfo();
        if (status != 2) {
            return;
        }
        if (m_world.monotonic() - begin >= maxWait) {
            ++m_coverage["wait for somebody else's update given up"];
            return;
        }
        m_world.pause(100);
        if (m_world.trace.back().what != "pause"sv) {
            ++m_coverage["somebody else's update ends"];
        }
    }
}

Rules::Answer Rules::request(const Step& check)
{
    int status = 0;
    if (hasAvailable(m_sites)) {
        return failover(check, status);
    }
    const qint64 interval = m_world.setting(0) * 1'000'000'000LL;
    if (interval > 0 && m_world.monotonic() - m_lastRefresh < interval) {
        ++m_coverage["search held back"];
        return {.kind = kindWithoutSites(), .reply = nullptr, .url = {}};
    }
    search(status);
    if (hasAvailable(m_sites)) {
        return failover(check, status);
    }
    Answer answer;
    if (!m_requestStates.empty()) {
        ++m_coverage["kept reply returned"];
        answer = {0, m_requestStates.begin()->second, urlOf(m_requestStates.begin()->first, World::Info),
                  true};
        m_lastRefresh = m_world.monotonic();
    }
    log(Warn, "Нет доступных площадок после обновления списка");
    answer.kind = kindWithoutSites();
    return answer;
}

// NOLINTNEXTLINE(readability-function-size): the rule as it is told, from its first step to its last
Rules::Answer Rules::failover(const Step& check, int status)
{
    m_inTurn = true;
    const std::optional<qint64> budget = limitInForce(check, Step::Budget);
    const qint64 total = budget ? m_world.monotonic() + *budget * 1'000'000 : forever;
    bool crossBorderBefore = false;
    Answer answer;
    const auto permitted = [&](const char* why, const auto&... values) {
        log(Warn, why, values...);
        answer.kind = 1;
        return answer;
    };
    Sites mine = m_sites;
    for (size_t i = 0; i < mine.size();) {
        const std::shared_ptr<Site> kept = mine[i];
        Site& site = *kept;
        if (!isAvailable(site)) {
            ++i;
            continue;
        }
        ++m_coverage[site.available ? "site in service" : "quarantine over"];
        site.available = true;
        site.networkError = false;
        answer = post(check, site, total);
        const Reply reply(*answer.reply);
        const Class result = classOf(reply);
        ++m_coverage[std::string("check: ") + classes[result]];

        switch (result) {
        case Ok:
        case Failed:
            return answer;
        case CrossBorder:
            if (!std::exchange(crossBorderBefore, true)) {
                log(Info, "Сервис трансграничной проверки кодов недоступен, повторный запрос");
                continue;
            }
            return permitted("Сервис трансграничной проверки кодов недоступен, добавление товара разрешено");
        case Emergency:
            return permitted("В ГИС МТ введена аварийная ситуация, запрет на продажу отключен");
        case Refused:
            log(Error, "Ошибка авторизации");
            notify(tokenNotice);
            return answer;
        case ProtocolError:
            log(Error, "Ошибка протокола");
            return answer;
        case Timeout:
            if (total != forever && m_world.monotonic() >= total) {
                return permitted("Суммарное время ожидания ответа от сервера превысило %1 мсек.", *budget);
            }
            break;
        case NetworkError:
            if (reply.causedHere && (reply.status == 0 || !hasAvailable(mine, kept))) {
                ++m_coverage["failure caused here"];
                return answer;
            }
            if (reply.causedHere) {
                ++m_coverage["reply over our limit"];
                ++i;
                continue;
            }
            break;
        default:
            break;
        }

        site = {site.address, site.time, false, m_world.wall() + 900'000, result == NetworkError};
        log(Info, "Площадка %1 помечена как недоступная на 15 минут", addresses[site.address]);
        log(Info, "Переключение на следующую CDN-площадку");
        if (hasAvailable(mine)) {
            ++i;
            continue;
        }
        if (status == 1) {
            log(Warn, "Токен для проверки доступных площадок не задан. Товар не будет добавлен");
            answer.kind = 3;
            return answer;
        }
        if (status != 3) {
            search(status);
        }
        if (!hasAvailable(m_sites)) {
            log(Warn, "Нет доступных площадок после обновления списка");
            answer.kind = kindWithoutSites();
            return answer;
        }
        ++m_coverage["failover begins anew"];
        mine = m_sites;
        i = 0;
    }
    ++m_coverage["past the last site"];
    return answer;
}

Rules::Answer Rules::post(const Step& check, const Site& site, qint64 total)
{
    const std::optional<qint64> limit = limitInForce(check, Step::Limit);
    const qint64 own = limit ? m_world.monotonic() + *limit * 1'000'000 : forever;
    ++m_coverage[own == forever && total == forever ? "no limit"
                 : total < own                      ? "cut by the budget"
                                                    : "within the budget"];
    QJsonArray codes;
    for (const int code : codesOf(check)) {
        codes.append(codeTexts[code]);
    }
    const QByteArray body = QJsonDocument(QJsonObject{{u"codes"_s, codes}}).toJson(QJsonDocument::Compact);
    const QString key = u"check-%1"_s.arg(check.n[Step::Key]);
    const Sites before = m_sites;
    const Step& reply = ask(World::CodesCheck, site.address, key, std::min(own, total), body);
    m_coverage["list replaced during an attempt"] += m_sites != before;
    return {0, &reply, urlOf(site.address, World::CodesCheck)};
}
