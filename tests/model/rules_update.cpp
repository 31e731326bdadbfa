// The rules of hosts, keys and list updates.

#include <algorithm>

#include "tests/model/replyclass.h"
#include "tests/model/rules.h"

using namespace Qt::StringLiterals;

namespace {
constexpr const char* updateStatuses[] = {"no keys", "already running", "finished"};

constexpr size_t maxSites = 100;
const QString noNotice = u"Crpt||"_s;
}  // namespace

// Hosts and keys

void Rules::addHost(int host, const QString& owner)
{
    if (keysOf(host).isEmpty()) {
        log(Info, "Добавлен хост: %1 (%2)", addresses[host], owner);
        m_hosts[host] = owner;
    }
}

void Rules::addKey(const QString& key, const QString& owner)
{
    m_keys.insert(m_keys.begin(), {owner, key});
    log(Info, "Добавлен ключ X-API-KEY: %1 (%2)", key, owner);
}

QStringList Rules::keysOf(int host) const
{
    const QString owner = m_hosts.contains(host) ? m_hosts.at(host) : QString();
    QStringList found;
    for (const auto& [ownerOfKey, key] : m_keys) {
        if (ownerOfKey == owner) {
            found.append(key);
        }
    }
    return found;
}

// List update

int Rules::updateInfo()
{
    const int scripted = m_world.updateCall().n[Step::Outcome];
    const int status = scripted == 1 ? 2 : scripted == 2 ? 1 : runUpdate();
    ++m_coverage[std::string("update: ") + updateStatuses[status - 1]];
    return status;
}

int Rules::runUpdate()
{
    if (m_keys.empty()) {
        log(Warn, "Нет ключей для работы с CDN-площадками");
        return 1;
    }
    if (m_updateEnd) {
        log(Debug, "Процесс обновления списка CDN-площадок уже запущен");
        return 2;
    }
    log(Info, "Получение списка CDN-площадок");
    notify(noNotice);
    m_updateEnd = m_world.monotonic() + updateSeconds * 1'000'000'000;
    QStringList notices;
    Sites found;
    for (const auto& [host, owner] : m_hosts) {
        for (const auto& site : sitesOf(host)) {
            const auto known = std::find_if(found.begin(), found.end(), [&](const auto& earlier) {
                return earlier->address == site->address;
            });
            if (known == found.end()) {
                found.push_back(site);
            } else {
                ++m_coverage["site of two hosts"];
                *known = site->time < (*known)->time ? site : *known;
            }
        }
        if (m_incorrectToken.contains(host) && m_incorrectToken.at(host)) {
            log(Error, "Ошибка авторизации");
            notices.append(tokenNotice);
        }
    }
    if (m_world.monotonic() >= *m_updateEnd) {
        log(Warn, "Обновление списка площадок прервано через %1 сек.", updateSeconds);
    }
    install(found);
    m_updateEnd.reset();
    for (const QString& notice : notices) {
        notify(notice);
    }
    return 3;
}

void Rules::install(Sites found)
{
    if (found.empty()) {
        log(Warn, "Не удалось обновить список площадок");
        m_updateSucceeded = false;
        return;
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a->time < b->time; });
    m_sites = found;
    m_updateSucceeded = true;
    log(Info, "Выбрана CDN: %1 (%2 мс)", addresses[found[0]->address], found[0]->time);
}

Rules::Sites Rules::sitesOf(int host)
{
    QStringList tried;
    for (const QString& key : keysOf(host)) {
        if (tried.contains(key) || m_world.monotonic() >= *m_updateEnd) {
            ++m_coverage[tried.contains(key) ? "key held twice" : "no time for a list request"];
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
    m_updateSucceeded = true;
    const Step& step = ask(World::Info, host, key, m_world.setting(1) * 1000LL);
    const Class status = classOf(Reply(step));
    ++m_coverage[std::string("list: ") + classes[status]];
    if (status == Timeout || status == NetworkError) {
        m_incorrectToken[host] = false;
        m_updateSucceeded = false;
    } else if (status == Refused) {
        m_incorrectToken.try_emplace(host, true);
    } else {
        m_incorrectToken[host] = false;
    }
    m_requestStates[host] = &step;
    return Reply(step).listed;
}

Rules::Sites Rules::measure(const std::vector<int>& listed, const QString& key)
{
    std::vector<int> different;
    for (const int address : listed) {
        if (std::find(different.begin(), different.end(), address) == different.end()) {
            different.push_back(address);
        } else {
            ++m_coverage["site listed twice"];
        }
    }
    if (different.size() > maxSites) {
        log(Warn, "Площадок в списке: %1, опрошены первые %2", qint64(different.size()), qint64(maxSites));
        different.resize(maxSites);
    }
    Sites found;
    for (const int address : different) {
        if (m_world.monotonic() >= *m_updateEnd) {
            ++m_coverage["no time for a probe"];
            break;
        }
        const qint64 start = m_world.monotonic();
        const Reply reply(ask(World::HealthCheck, address, key, m_world.setting(2) * 1000LL));
        if (!reply.hasCode || reply.code.value_or(0) != 0) {
            log(Warn, "Некорректное состояние площадки");
            continue;
        }
        const auto time = qint32((m_world.monotonic() - start) / 1'000'000);
        log(Debug, "Время ответа CDN: %1 мс.", time);
        found.push_back(std::make_shared<Site>(Site{address, time}));
        m_everMeasured.push_back(found.back());
    }
    return found;
}
