#include "tests/model/rules.h"

#include <algorithm>
#include <limits>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using namespace std::string_view_literals;

namespace {

enum Class { Ok, Failed, ServerError, CrossBorder, Emergency, Refused, ProtocolError, Timeout, NetworkError };
constexpr const char* Classes[] = {"ok",  "failed", "server error", "5000",         "203",
                                   "401", "4xx",    "time-out",     "network error"};
constexpr const char* UpdateStatuses[] = {"no keys", "already running", "finished"};

Class classOf(const Reply& reply)
{
    const int status = reply.status;
    if (status == 203 || status == 401) {
        return status == 203 ? Emergency : Refused;
    }
    if (status == 403 || status == 404) {
        return NetworkError;
    }
    if (status >= 400 && status <= 499) {
        return status == 429 ? ServerError : ProtocolError;
    }
    if (status >= 500 && status <= 599) {
        return reply.code == 5000 ? CrossBorder : ServerError;
    }
    if (reply.timeout) {
        return Timeout;
    }
    if (reply.networkError || status == 0) {
        return NetworkError;
    }
    return reply.code == 0 && reply.describedOk ? Ok : Failed;
}

QString urlOf(int address, World::Method method)
{
    static const QStringList paths = {u"/cdn/info"_s, u"/cdn/health/check"_s, u"/codes/check"_s};
    return Bases[address] + u"/api/v4/true-api"_s + paths[method];
}

constexpr qint64 Forever = std::numeric_limits<qint64>::max();
constexpr qint64 UpdateSeconds = 60;
constexpr size_t MaxSites = 100;

const QString NoNotice = u"Crpt||"_s;
const QString TokenNotice = u"Crpt|crptIncorrectTokenErrorNotification|"
                            "Честный знак: ошибка токена. Чеки будут сформированы некорректно"_s;

}  // namespace

Rules::Rules(World& theWorld, Coverage& theCoverage)
    : world(theWorld)
    , coverage(theCoverage)
{
    world.otherUpdate = [this] {
        const bool checkInTurn = std::exchange(inTurn, false);
        world.record("updated", {runUpdate()});
        inTurn = checkInTurn;
    };
}

void Rules::perform(const Step& step)
{
    if (step.kind == Step::AddHost) {
        addHost(step.n[0], Owners[step.n[1]]);
    } else if (step.kind == Step::AddKey) {
        addKey(u"key-%1"_s.arg(step.n[0]), Owners[step.n[1]]);
    } else if (step.kind == Step::HostEvent) {
        clientMade = clientMade || HostEvents[size_t(step.n[0])] != 96;
    } else if (step.kind == Step::Update) {
        world.otherUpdate();
    } else if (step.kind == Step::Check) {
        check(step);
    } else if (step.kind == Step::Pass) {
        world.pass(step.n[0], step.n[1]);
    } else if (!everMeasured.empty()) {
        Site& site = *everMeasured[size_t(step.n[0]) % everMeasured.size()];
        site = {site.address, site.time, false, world.wall() + step.n[1], step.n[2] != 0};
    }
    for (const auto& site : everMeasured) {
        world.record("site", {site->available, site->until, site->networkError, site->time},
                     Addresses[site->address]);
    }
}

// Hosts and keys

void Rules::addHost(int host, const QString& owner)
{
    if (keysOf(host).isEmpty()) {
        log(Info, "Добавлен хост: %1 (%2)", Addresses[host], owner);
        hosts[host] = owner;
    }
}

void Rules::addKey(const QString& key, const QString& owner)
{
    keys.insert(keys.begin(), {owner, key});
    log(Info, "Добавлен ключ X-API-KEY: %1 (%2)", key, owner);
}

QStringList Rules::keysOf(int host) const
{
    const QString owner = hosts.contains(host) ? hosts.at(host) : QString();
    QStringList found;
    for (const auto& [ownerOfKey, key] : keys) {
        if (ownerOfKey == owner) {
            found.append(key);
        }
    }
    return found;
}

// List update

int Rules::updateInfo()
{
    const int scripted = world.updateCall().n[Step::Outcome];
    const int status = scripted == 1 ? 2 : scripted == 2 ? 1 : runUpdate();
    ++coverage[std::string("update: ") + UpdateStatuses[status - 1]];
    return status;
}

int Rules::runUpdate()
{
    if (keys.empty()) {
        log(Warn, "Нет ключей для работы с CDN-площадками");
        return 1;
    }
    if (updateEnd) {
        log(Debug, "Процесс обновления списка CDN-площадок уже запущен");
        return 2;
    }
    log(Info, "Получение списка CDN-площадок");
    updateEnd = world.monotonic() + UpdateSeconds * 1'000'000'000;
    QStringList notices = {NoNotice};
    Sites found;
    for (const auto& [host, owner] : hosts) {
        for (const auto& site : sitesOf(host)) {
            const bool known = std::any_of(found.begin(), found.end(), [&](const auto& earlier) {
                return earlier->address == site->address;
            });
            if (!known) {
                found.push_back(site);
            }
            coverage["site of two hosts"] += known;
        }
        if (incorrectToken.contains(host) && incorrectToken.at(host)) {
            log(Error, "Ошибка авторизации");
            notices.append(TokenNotice);
        }
    }
    if (world.monotonic() >= *updateEnd) {
        log(Warn, "Обновление списка площадок прервано через %1 сек.", UpdateSeconds);
    }
    if (found.empty()) {
        log(Warn, "Не удалось обновить список площадок");
        updateSucceeded = false;
    } else {
        std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a->time < b->time; });
        sites = found;
        updateSucceeded = true;
        log(Info, "Выбрана CDN: %1 (%2 мс)", Addresses[found[0]->address], found[0]->time);
    }
    updateEnd.reset();
    for (const QString& notice : notices) {
        notify(notice);
    }
    return 3;
}

Rules::Sites Rules::sitesOf(int host)
{
    QStringList tried;
    for (const QString& key : keysOf(host)) {
        if (tried.contains(key) || world.monotonic() >= *updateEnd) {
            ++coverage[tried.contains(key) ? "key held twice" : "no time for a list request"];
            continue;
        }
        tried.append(key);
        if (Sites found = measure(siteList(host, key), key); !found.empty()) {
            return found;
        }
    }
    return {};
}

std::vector<int> Rules::siteList(int host, const QString& key)
{
    updateSucceeded = true;
    const Step& step = ask(World::Info, host, key, world.setting(1) * 1000LL);
    const Class status = classOf(Reply(step));
    ++coverage[std::string("list: ") + Classes[status]];
    if (status == Timeout || status == NetworkError) {
        incorrectToken[host] = false;
        updateSucceeded = false;
    } else if (status == Refused) {
        incorrectToken.try_emplace(host, true);
    } else {
        incorrectToken[host] = false;
    }
    requestStates[host] = &step;
    return Reply(step).listed;
}

Rules::Sites Rules::measure(const std::vector<int>& listed, const QString& key)
{
    std::vector<int> different;
    for (const int address : listed) {
        if (std::find(different.begin(), different.end(), address) == different.end()) {
            different.push_back(address);
        } else {
            ++coverage["site listed twice"];
        }
    }
    if (different.size() > MaxSites) {
        log(Warn, "Площадок в списке: %1, опрошены первые %2", qint64(different.size()), qint64(MaxSites));
        different.resize(MaxSites);
    }
    Sites found;
    for (const int address : different) {
        if (world.monotonic() >= *updateEnd) {
            ++coverage["no time for a probe"];
            break;
        }
        const qint64 start = world.monotonic();
        const Reply reply(ask(World::HealthCheck, address, key, world.setting(2) * 1000LL));
        if (!reply.hasCode || reply.code.value_or(0) != 0) {
            log(Warn, "Некорректное состояние площадки");
            continue;
        }
        const auto time = qint32((world.monotonic() - start) / 1'000'000);
        log(Debug, "Время ответа CDN: %1 мс.", time);
        found.push_back(std::make_shared<Site>(Site{address, time}));
        everMeasured.push_back(found.back());
    }
    return found;
}

/// In a turn, the cashier is told at its end.
void Rules::notify(const QString& notice)
{
    if (inTurn) {
        pending.append(notice);
        return;
    }
    world.record("notice", {}, notice);
}

void Rules::endTurn()
{
    inTurn = false;
    coverage["notice after the turn"] += size_t(pending.size());
    for (const QString& notice : std::exchange(pending, {})) {
        notify(notice);
    }
}

// Request

bool Rules::isAvailable(const Site& site) const
{
    return site.available || site.until < world.wall();
}

bool Rules::hasAvailable(const Sites& among, const std::shared_ptr<Site>& besides) const
{
    return std::any_of(among.begin(), among.end(),
                       [&](const auto& site) { return site != besides && isAvailable(*site); });
}

int Rules::kindWithoutSites() const
{
    return !updateSucceeded || std::any_of(sites.begin(), sites.end(),
                                           [](const auto& site) { return site->networkError; })
               ? 2
               : 1;
}

void Rules::search(int& status)
{
    log(Warn, "Нет доступных площадок, пытаемся обновить список площадок");
    coverage["site found without an update"] += hasAvailable(sites);
    constexpr qint64 maxWait = 60'000'000'000;
    const qint64 begin = world.monotonic();
    while (!hasAvailable(sites)) {
        status = updateInfo();
        if (status != 2) {
            return;
        }
        if (world.monotonic() - begin >= maxWait) {
            ++coverage["wait for somebody else's update given up"];
            return;
        }
        world.pause(100);
        if (world.trace.back().what != "pause"sv) {
            ++coverage["somebody else's update ends"];
        }
    }
}

Rules::Answer Rules::request(const Step& check)
{
    int status = 0;
    if (hasAvailable(sites)) {
        return failover(check, status);
    }
    const qint64 interval = world.setting(0) * 1'000'000'000LL;
    if (interval > 0 && world.monotonic() - lastRefresh < interval) {
        ++coverage["search held back"];
        return {.kind = kindWithoutSites(), .reply = nullptr, .url = {}};
    }
    search(status);
    if (hasAvailable(sites)) {
        return failover(check, status);
    }
    Answer answer;
    if (!requestStates.empty()) {
        ++coverage["kept reply returned"];
        answer = {0, requestStates.begin()->second, urlOf(requestStates.begin()->first, World::Info), true};
        lastRefresh = world.monotonic();
    }
    log(Warn, "Нет доступных площадок после обновления списка");
    answer.kind = kindWithoutSites();
    return answer;
}

Rules::Answer Rules::failover(const Step& check, int status)
{
    inTurn = true;
    const std::optional<qint64> budget = limitInForce(check, Step::Budget);
    const qint64 total = budget ? world.monotonic() + *budget * 1'000'000 : Forever;
    bool crossBorderBefore = false;
    Answer answer;
    const auto permitted = [&](const char* why, const auto&... values) {
        log(Warn, why, values...);
        answer.kind = 1;
        return answer;
    };
    Sites mine = sites;
    for (size_t i = 0; i < mine.size();) {
        const std::shared_ptr<Site> kept = mine[i];
        Site& site = *kept;
        if (!isAvailable(site)) {
            ++i;
            continue;
        }
        ++coverage[site.available ? "site in service" : "quarantine over"];
        site.available = true;
        site.networkError = false;
        answer = post(check, site, total);
        const Reply reply(*answer.reply);
        const Class result = classOf(reply);
        ++coverage[std::string("check: ") + Classes[result]];

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
            notify(TokenNotice);
            return answer;
        case ProtocolError:
            log(Error, "Ошибка протокола");
            return answer;
        case Timeout:
            if (total != Forever && world.monotonic() >= total) {
                return permitted("Суммарное время ожидания ответа от сервера превысило %1 мсек.", *budget);
            }
            break;
        case NetworkError:
            if (reply.causedHere && (reply.status == 0 || !hasAvailable(mine, kept))) {
                ++coverage["failure caused here"];
                return answer;
            }
            if (reply.causedHere) {
                ++coverage["reply over our limit"];
                ++i;
                continue;
            }
            break;
        default:
            break;
        }

        site = {site.address, site.time, false, world.wall() + 900'000, result == NetworkError};
        log(Info, "Площадка %1 помечена как недоступная на 15 минут", Addresses[site.address]);
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
        if (!hasAvailable(sites)) {
            log(Warn, "Нет доступных площадок после обновления списка");
            answer.kind = kindWithoutSites();
            return answer;
        }
        ++coverage["failover begins anew"];
        mine = sites;
        i = 0;
    }
    ++coverage["past the last site"];
    return answer;
}

Rules::Answer Rules::post(const Step& check, const Site& site, qint64 total)
{
    const std::optional<qint64> limit = limitInForce(check, Step::Limit);
    const qint64 own = limit ? world.monotonic() + *limit * 1'000'000 : Forever;
    ++coverage[own == Forever && total == Forever ? "no limit"
               : total < own                      ? "cut by the budget"
                                                  : "within the budget"];
    QJsonArray codes;
    for (const int code : codesOf(check)) {
        codes.append(CodeTexts[code]);
    }
    const QByteArray body = QJsonDocument(QJsonObject{{u"codes"_s, codes}}).toJson(QJsonDocument::Compact);
    const QString key = u"check-%1"_s.arg(check.n[Step::Key]);
    const Sites before = sites;
    const Step& reply = ask(World::CodesCheck, site.address, key, std::min(own, total), body);
    coverage["list replaced during an attempt"] += sites != before;
    return {0, &reply, urlOf(site.address, World::CodesCheck)};
}

// Check

void Rules::check(const Step& check)
{
    const bool direct = check.n[Step::Direct] != 0;
    const std::vector<int> requested = codesOf(check);
    if (!direct) {
        QStringList readable;
        for (const int code : requested) {
            readable.append(ReadableCodes[code]);
        }
        log(Info, "Проверка кодов маркировок: [%1]", readable.join(u", "_s));
    }
    const Answer answer = request(check);
    endTurn();
    ++coverage["error kind " + std::to_string(answer.kind)];
    if (answer.reply == nullptr) {
        world.record("result", {answer.kind}, u"|"_s);
    } else {
        const Reply reply(*answer.reply);
        world.record(
            "result",
            {answer.kind, reply.status, !answer.kept && reply.timeout, !answer.kept && reply.networkError},
            answer.url + (reply.timeout        ? u"|late"_s
                          : reply.networkError ? u"|cut"_s
                                               : u"|"_s),
            responseOf(*answer.reply).body());
    }
    if (!direct) {
        recordVerdicts(answer, requested);
    }
}

void Rules::recordVerdicts(const Answer& answer, const std::vector<int>& requested)
{
    const auto contains = [](const std::vector<int>& codes, int code) {
        return std::find(codes.begin(), codes.end(), code) != codes.end();
    };
    std::vector<int> passed;
    std::map<QString, std::pair<std::array<qint64, 5>, QString>>
        failed;  // flags, error code, whole body; message
    if (answer.reply != nullptr) {
        for (const auto& [code, verdict] : Reply(*answer.reply).verdicts) {
            if (verdict == Reply::Sold) {
                failed[CodeTexts[code]] = {{0x40, 7, 0}, {}};
            } else if (verdict == Reply::HasMessage) {
                failed[CodeTexts[code]] = {{0, 0, 0}, u"no"_s};
            } else {
                passed.insert(passed.end(), verdict == Reply::PassesTwice ? 2 : 1, code);
            }
        }
    }
    const qint64 httpStatus = answer.reply == nullptr ? 0 : Reply(*answer.reply).status;
    if (answer.kind == 1) {
        failed.clear();
        passed = requested;
    } else if (answer.kind == 2) {
        failed.clear();
        passed.clear();
    }
    for (const int code : requested) {
        if (answer.kind == 2) {
            failed[CodeTexts[code]] = {{0x2, httpStatus, 1}, {}};
        } else if (answer.kind == 0 && !contains(passed, code) && !failed.contains(CodeTexts[code])) {
            failed[CodeTexts[code]] = {{0x1, httpStatus, 1}, {}};
        }
    }
    for (const int code : passed) {
        if (contains(requested, code)) {
            world.record("passed", {}, CodeTexts[code]);
        }
    }
    for (const auto& [code, status] : failed) {
        world.record("failed", status.first, code + u'|' + status.second);
    }
}

// What the world sees

const Step& Rules::ask(World::Method method, int address, const QString& key, qint64 limit,
                       const QByteArray& body)
{
    static const QStringList aliases = {u"серверу честного знака для получения списка CDN-площадок"_s,
                                        u"серверу честного знака для получения состояния CDN-площадки"_s,
                                        u"серверу честного знака для проверки маркировки"_s};
    const bool isCheck = method == World::CodesCheck;
    constexpr qint64 limitForNone = 30'000;
    limit = !isCheck && limit <= 0 ? limitForNone : limit;
    if (isCheck) {
        limit = std::max(limit, world.monotonic());
    } else if (const qint64 left = (*updateEnd - world.monotonic() + 999'999) / 1'000'000; left < limit) {
        ++coverage["time-out cut by the end of the update"];
        limit = left;
    }
    const bool newClient = std::exchange(clientMade, false) || !isCheck;
    world.record("request", {address * 3 + method, limit, isCheck, newClient, true},
                 aliases[method] + u'|' + key, body);
    std::optional<qint64> end = limit;
    if (isCheck ? limit == Forever : limit <= 0) {
        end.reset();
    } else if (!isCheck) {
        end = world.monotonic() + limit * 1'000'000;
    }
    const Step& reply = world.answer(method, end);
    world.record("class", {classOf(Reply(reply))});
    return reply;
}
