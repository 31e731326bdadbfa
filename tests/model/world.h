#pragma once

#include <functional>
#include <optional>
#include <set>
#include <stdexcept>
#include <vector>

#include <QByteArray>
#include <QString>

#include "tests/model/schedule.h"

/// One thing that can be seen of a client from outside.
struct Entry
{
    const char* what;
    std::array<qint64, 5> numbers;
    QString text;
    QByteArray body;

    friend bool operator==(const Entry& a, const Entry& b)
    {
        return a.numbers == b.numbers && a.text == b.text && a.body == b.body && qstrcmp(a.what, b.what) == 0;
    }
    [[nodiscard]] QString toText() const;
};
using Trace = std::vector<Entry>;

/// Thrown where a client would go on for ever.
struct Runaway : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// A world that follows a schedule: its clocks, what it has in store, and a record of what happens in it. The
/// client and the model are each given one of their own. The schedule must outlive it.
class World
{
public:
    enum Method { Info, HealthCheck, CodesCheck };

    explicit World(const Schedule& schedule);

    /// Setting `number` of the schedule.
    [[nodiscard]] int setting(size_t number) const { return m_settings[number]; }

    /// The monotonic clock in nanoseconds.
    [[nodiscard]] qint64 monotonic() const { return m_monotonic; }
    /// The wall clock in milliseconds.
    [[nodiscard]] qint64 wall() const { return m_wallStart + m_monotonic / 1'000'000 + m_wallSteps; }
    void pass(qint64 milliseconds, int wallStepSeconds = 0);

    /// The reply to a request that ends at `limit` (monotonic) at the latest; the clocks then stand where it
    /// came.
    const Step& answer(Method method, std::optional<qint64> limit);
    /// What becomes of a check's call of updateInfo().
    const Step& updateCall();
    /// A pause of a waiting check; somebody else's update may end in it.
    void pause(qint64 milliseconds);

    void record(const char* what, const std::array<qint64, 5>& numbers, const QString& text = {},
                const QByteArray& body = {})
    {
        trace.push_back({what, numbers, text, body});
    }

    Trace trace;
    std::function<void()> otherUpdate;  ///< runs an update that is not a check's own, in another thread
    std::uint64_t requests = 0;
    std::uint64_t clockSteps = 0;

private:
    const Step& next(Step::Kind kind);
    void passNanoseconds(qint64 nanoseconds, int wallStepSeconds);

    const Schedule& m_schedule;
    std::array<size_t, Step::KindCount> m_cursor{};
    std::array<int, 10> m_settings{-1, 10, 10, 1000};
    qint64 m_monotonic;
    qint64 m_wallStart;
    qint64 m_wallSteps = 0;
    std::set<qint64> m_probeTimes;  ///< in milliseconds
    int m_pauses = 0;
    bool m_othersEnd = false;
};
