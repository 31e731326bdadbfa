// The rules of hosts, keys and list updates.

#include <algorithm>

#include "tests/model/replyclass.h"
#include "tests/model/rules.h"

using namespace Qt::StringLiterals;

namespace {
constexpr const char* UpdateStatuses[] = {"no keys", "already running", "finished"};

constexpr size_t MaxSites = 100;
const QString NoNotice = u"Crpt||"_s;
}  // namespace

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
