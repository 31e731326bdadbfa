#include "stand/http/requestlog.h"

#include <QDateTime>
#include <QJsonArray>
#include <array>

namespace marksim {

using namespace Qt::StringLiterals;

namespace {

// In the order of Outcome.
constexpr std::array outcomes = {"pending"_L1, "answered"_L1,  "closed"_L1,          "reset"_L1,
                                 "stalled"_L1, "peer left"_L1, "handshake failed"_L1};

std::size_t sizeOf(const Request& request)
{
    auto size = request.target().size() + request.body().size();
    for (const auto& field : request) {
        size += field.name_string().size() + field.value().size();
    }
    return size;
}

}  // namespace

QJsonObject LoggedRequest::toJson(bool brief) const
{
    QJsonObject object{{"seq"_L1, static_cast<qint64>(seq)},
                       {"time"_L1, time},
                       {"server"_L1, server},
                       {"api"_L1, method},
                       {"connection"_L1, static_cast<qint64>(connection.id)},
                       {"remotePort"_L1, connection.remotePort},
                       {"method"_L1, QString::fromUtf8(request.method_string())},
                       {"path"_L1, QString::fromUtf8(request.target())},
                       {"status"_L1, status},
                       {"durationMs"_L1, duration ? QJsonValue(qint64(duration->count())) : QJsonValue()},
                       {"outcome"_L1, outcomes.at(static_cast<std::size_t>(outcome))}};
    if (!reason.isEmpty()) {
        object["reason"_L1] = reason;
    }
    if (brief) {
        object["bodyBytes"_L1] = static_cast<qint64>(request.body().size());
        return object;
    }
    QJsonArray headers;
    for (const auto& field : request) {
        headers.append(QJsonArray{QString::fromUtf8(field.name_string()), QString::fromUtf8(field.value())});
    }
    object["headers"_L1] = headers;
    object["body"_L1] = QString::fromUtf8(request.body());
    return object;
}

std::uint64_t RequestLog::add(LoggedRequest entry)
{
    entry.seq = m_next++;
    entry.begun = std::chrono::steady_clock::now();
    entry.time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    m_bytes += sizeOf(entry.request);
    m_entries.push_back(std::move(entry));
    while (m_entries.size() > maxRequests || m_bytes > maxBytes) {
        m_bytes -= sizeOf(m_entries.front().request);
        m_entries.pop_front();
        ++m_forgotten;
    }
    return m_next - 1;
}

const LoggedRequest* RequestLog::find(std::uint64_t seq) const
{
    return seq < first() || seq >= m_next ? nullptr : &m_entries[seq - first()];
}

void RequestLog::end(std::uint64_t seq, int status, Outcome outcome)
{
    if (find(seq)) {
        auto& entry = m_entries[seq - first()];
        entry.status = status;
        entry.outcome = outcome;
        entry.duration =
            std::chrono::round<std::chrono::milliseconds>(std::chrono::steady_clock::now() - entry.begun);
    }
}

void RequestLog::clear()
{
    m_entries.clear();
    m_bytes = 0;
    m_forgotten = 0;
}

QJsonObject RequestLog::toJson(const RequestFilter& filter) const
{
    std::vector<const LoggedRequest*> wanted;
    for (auto entry = m_entries.rbegin(); entry != m_entries.rend() && entry->seq >= filter.since; ++entry) {
        if (filter.last != 0 && wanted.size() == filter.last) {
            break;
        }
        if ((filter.connections || entry->isRequest()) &&
            (filter.server.isEmpty() || entry->server == filter.server)) {
            wanted.push_back(&*entry);
        }
    }
    QJsonArray requests;
    for (auto entry = wanted.rbegin(); entry != wanted.rend(); ++entry) {
        requests.append((*entry)->toJson(filter.brief));
    }
    return {{"requests"_L1, requests},
            {"first"_L1, static_cast<qint64>(first())},
            {"next"_L1, static_cast<qint64>(m_next)},
            {"forgotten"_L1, m_forgotten}};
}

}  // namespace marksim
