#include "tests/model/world.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {
constexpr int tooManyPauses = 100;
constexpr int tooManyRequests = 20000;
constexpr qint64 nanosecondsPerHour = 3'600'000'000'000;
constexpr qint64 someDay = 1'767'355'200'000;  // 2026-01-02T12:00Z
}  // namespace

QString Entry::toText() const
{
    QString line = QString::fromLatin1(what).leftJustified(8);
    for (const qint64 number : numbers) {
        line += QString::number(number) + u' ';
    }
    return line + text + u' ' + QString::fromUtf8(body);
}

World::World(const Schedule& schedule)
    : m_schedule(schedule)
{
    for (const Step& step : schedule) {
        m_settings = step.kind == Step::Setting ? step.n : m_settings;
    }
    m_monotonic = m_settings[3] * nanosecondsPerHour + 123'456;
    m_wallStart = someDay - m_monotonic / 1'000'000;
}

void World::pass(qint64 milliseconds, int wallStepSeconds)
{
    passNanoseconds(milliseconds * 1'000'000, wallStepSeconds);
}

void World::passNanoseconds(qint64 nanoseconds, int wallStepSeconds)
{
    m_monotonic += nanoseconds;
    m_wallSteps += wallStepSeconds * 1000LL;
    clockSteps += wallStepSeconds != 0;
}

const Step& World::next(Step::Kind kind)
{
    static std::array<Step, Step::KindCount> plainest;
    size_t& cursor = m_cursor[kind];
    while (cursor < m_schedule.size() && m_schedule[cursor].kind != kind) {
        ++cursor;
    }
    plainest[kind].kind = kind;
    return cursor < m_schedule.size() ? m_schedule[cursor++] : plainest[kind];
}

const Step& World::answer(Method method, std::optional<qint64> limit)
{
    if (++requests > tooManyRequests) {
        throw Runaway("requests without end");
    }
    const Step& reply = next(Step::Kind(Step::ListReply + int(method)));
    if (reply.n[Step::Nested] != 0) {
        otherUpdate();
    }
    qint64 takes = reply.n[Step::Latency] * 1000LL;
    if (method == HealthCheck) {
        // No two sites may be equally fast: their order would be open.
        while (!m_probeTimes.insert(takes / 1'000'000).second) {
            takes += 1'000'000;
        }
    } else if (reply.n[Step::ToLimit] != 0 && limit) {
        const qint64 left = std::max<qint64>(0, *limit - m_monotonic);
        takes = reply.n[Step::ToLimit] == 1 ? left + takes : std::max<qint64>(0, left - 1'000'000);
    }
    passNanoseconds(takes, reply.n[Step::WallStep]);
    return reply;
}

const Step& World::updateCall()
{
    const Step& call = next(Step::UpdateCall);
    pass(call.n[Step::Takes], call.n[Step::WallStepAfter]);
    m_othersEnd = call.n[Step::OthersEnd] != 0;
    return call;
}

void World::pause(qint64 milliseconds)
{
    record("pause", {milliseconds});
    if (++m_pauses > tooManyPauses) {
        throw Runaway("pauses without end");
    }
    pass(milliseconds);
    if (std::exchange(m_othersEnd, false)) {
        otherUpdate();
    }
}
