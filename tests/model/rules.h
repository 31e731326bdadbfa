#pragma once

#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/model/world.h"

/// How often each thing that can happen has happened, so that a run can show that nothing was left out.
using Coverage = std::map<std::string, std::uint64_t>;

inline constexpr qint64 forever = std::numeric_limits<qint64>::max();
inline constexpr qint64 updateSeconds = 60;
inline const QString tokenNotice =
    QStringLiteral("Crpt|crptIncorrectTokenErrorNotification|"
                   "Честный знак: ошибка токена. Чеки будут сформированы некорректно");

/// The rules of the online client, stated a second time and as plainly as possible: no locks, no network, no
/// concern for cost. It does what a schedule says in a world of its own.
class Rules
{
public:
    Rules(World& world, Coverage& coverage);
    void perform(const Step& step);

private:
    struct Site
    {
        int address;
        qint32 time;
        bool available = true;
        qint64 until = -1;
        bool networkError = false;
    };
    using Sites = std::vector<std::shared_ptr<Site>>;
    struct Answer
    {
        int kind = 0;
        const Step* reply = nullptr;
        QString url;
        bool kept = false;  ///< from an earlier site-list request
    };
    enum Level { Debug = 1, Info, Warn, Error };

    void addHost(int host, const QString& owner);
    void addKey(const QString& key, const QString& owner);
    [[nodiscard]] QStringList keysOf(int host) const;

    int updateInfo();
    int runUpdate();
    void install(Sites found);
    Sites sitesOf(int host);
    std::vector<int> siteList(int host, const QString& key);
    Sites measure(const std::vector<int>& listed, const QString& key);
    void notify(const QString& notice);
    void endTurn();

    [[nodiscard]] bool isAvailable(const Site& site) const;
    [[nodiscard]] bool hasAvailable(const Sites& among, const std::shared_ptr<Site>& besides = {}) const;
    [[nodiscard]] int kindWithoutSites() const;
    void search(int& status);
    Answer request(const Step& check);
    Answer failover(const Step& check, int status);
    Answer post(const Step& check, const Site& site, qint64 total);

    void check(const Step& check);
    void recordVerdicts(const Answer& answer, const std::vector<int>& requested);

    static QString urlOf(int address, World::Method method);
    const Step& ask(World::Method method, int address, const QString& key, qint64 limit,
                    const QByteArray& body = {});
    static QString toText(const QString& text) { return text; }
    static QString toText(qint64 number) { return QString::number(number); }
    template <class... Values>
    void log(Level level, const char* text, const Values&... values)
    {
        ++m_coverage[text];
        const QString message = QString::fromUtf8(text);
        if constexpr (sizeof...(values) == 0) {
            m_world.record("log", {level}, message);
        } else {
            m_world.record("log", {level}, message.arg(toText(values)...));
        }
    }

    World& m_world;
    Coverage& m_coverage;
    std::map<int, QString> m_hosts;
    std::vector<std::pair<QString, QString>> m_keys;  // owner and key, newest first
    std::map<int, bool> m_incorrectToken;
    std::map<int, const Step*> m_requestStates;
    Sites m_sites;
    Sites m_everMeasured;
    bool m_updateSucceeded = true;
    std::optional<qint64> m_updateEnd;  ///< of the update that runs: no request begins then or later
    bool m_inTurn = false;
    QStringList m_pending;  ///< notices, for the end of the turn
    bool m_clientMade = true;
    qint64 m_lastRefresh = 0;
};
