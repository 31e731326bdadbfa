#include "tests/model/rules.h"

#include <algorithm>

#include "tests/model/replyclass.h"

using namespace Qt::StringLiterals;

Rules::Rules(World& theWorld, Coverage& theCoverage)
    : m_world(theWorld)
    , m_coverage(theCoverage)
{
    m_world.otherUpdate = [this] {
        const bool checkInTurn = std::exchange(m_inTurn, false);
        m_world.record("updated", {runUpdate()});
        m_inTurn = checkInTurn;
    };
}

void Rules::perform(const Step& step)
{
    if (step.kind == Step::AddHost) {
        addHost(step.n[0], owners[step.n[1]]);
    } else if (step.kind == Step::AddKey) {
        addKey(u"key-%1"_s.arg(step.n[0]), owners[step.n[1]]);
    } else if (step.kind == Step::HostEvent) {
        m_clientMade = m_clientMade || hostEvents[size_t(step.n[0])] != 96;
    } else if (step.kind == Step::Update) {
        m_world.otherUpdate();
    } else if (step.kind == Step::Check) {
        check(step);
    } else if (step.kind == Step::Pass) {
        m_world.pass(step.n[0], step.n[1]);
    } else if (!m_everMeasured.empty()) {
        Site& site = *m_everMeasured[size_t(step.n[0]) % m_everMeasured.size()];
        site = {site.address, site.time, false, m_world.wall() + step.n[1], step.n[2] != 0};
    }
    for (const auto& site : m_everMeasured) {
        m_world.record("site", {site->available, site->until, site->networkError, site->time},
                       addresses[site->address]);
    }
}

/// In a turn, the cashier is told at its end.
void Rules::notify(const QString& notice)
{
    if (m_inTurn) {
        m_pending.append(notice);
        return;
    }
    m_world.record("notice", {}, notice);
}

void Rules::endTurn()
{
    m_inTurn = false;
    m_coverage["notice after the turn"] += size_t(m_pending.size());
    for (const QString& notice : std::exchange(m_pending, {})) {
        notify(notice);
    }
}

// Check

void Rules::check(const Step& check)
{
    const bool direct = check.n[Step::Direct] != 0;
    const std::vector<int> requested = codesOf(check);
    if (!direct) {
        QStringList readable;
        for (const int code : requested) {
            readable.append(readableCodes[code]);
        }
        log(Info, "Проверка кодов маркировок: [%1]", readable.join(u", "_s));
    }
    const Answer answer = request(check);
    endTurn();
    ++m_coverage["error kind " + std::to_string(answer.kind)];
    if (answer.reply == nullptr) {
        m_world.record("result", {answer.kind}, u"|"_s);
    } else {
        const Reply reply(*answer.reply);
        m_world.record(
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

static bool contains(const std::vector<int>& codes, int code)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

void Rules::recordVerdicts(const Answer& answer, const std::vector<int>& requested)
{
    std::vector<int> passed;
    std::map<QString, std::pair<std::array<qint64, 5>, QString>>
        failed;  // flags, error code, whole body; message
    if (answer.reply != nullptr) {
        for (const auto& [code, verdict] : Reply(*answer.reply).verdicts) {
            if (verdict == Reply::Sold) {
                failed[codeTexts[code]] = {{0x40, 7, 0}, {}};
            } else if (verdict == Reply::HasMessage) {
                failed[codeTexts[code]] = {{0, 0, 0}, u"no"_s};
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
            failed[codeTexts[code]] = {{0x2, httpStatus, 1}, {}};
        } else if (answer.kind == 0 && !contains(passed, code) && !failed.contains(codeTexts[code])) {
            failed[codeTexts[code]] = {{0x1, httpStatus, 1}, {}};
        }
    }
    for (const int code : passed) {
        if (contains(requested, code)) {
            m_world.record("passed", {}, codeTexts[code]);
        }
    }
    for (const auto& [code, status] : failed) {
        m_world.record("failed", status.first, code + u'|' + status.second);
    }
}

// What the world sees

QString Rules::urlOf(int address, World::Method method)
{
    static const QStringList paths = {u"/cdn/info"_s, u"/cdn/health/check"_s, u"/codes/check"_s};
    return bases[address] + u"/api/v4/true-api"_s + paths[method];
}

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
        limit = std::max(limit, m_world.monotonic());
    } else if (const qint64 left = (*m_updateEnd - m_world.monotonic() + 999'999) / 1'000'000; left < limit) {
        ++m_coverage["time-out cut by the end of the update"];
        limit = left;
    }
    const bool newClient = std::exchange(m_clientMade, false) || !isCheck;
    m_world.record("request", {address * 3 + method, limit, isCheck, newClient, true},
                   aliases[method] + u'|' + key, body);
    std::optional<qint64> end = limit;
    if (isCheck ? limit == forever : limit <= 0) {
        end.reset();
    } else if (!isCheck) {
        end = m_world.monotonic() + limit * 1'000'000;
    }
    const Step& reply = m_world.answer(method, end);
    m_world.record("class", {classOf(Reply(reply))});
    return reply;
}
