#include "requestlog.h"

#include <QDateTime>
#include <algorithm>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

QLatin1String outcomeName(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Pending:
        return "pending"_L1;
    case Outcome::Answered:
        return "answered"_L1;
    case Outcome::Closed:
        return "closed"_L1;
    case Outcome::Reset:
        return "reset"_L1;
    case Outcome::Stalled:
        return "stalled"_L1;
    case Outcome::PeerLeft:
        break;
    }
    return "peer left"_L1;
}

}  // namespace

QJsonObject LoggedRequest::toJson(bool brief) const
{
    QJsonObject object{{"seq"_L1, static_cast<qint64>(seq)},
                       {"time"_L1, QString::fromStdString(time)},
                       {"server"_L1, QString::fromStdString(server)},
                       {"api"_L1, QString::fromStdString(method)},
                       {"connection"_L1, static_cast<qint64>(connection)},
                       {"remotePort"_L1, remotePort},
                       {"method"_L1, QString::fromStdString(request.verb)},
                       {"path"_L1, QString::fromStdString(request.target)},
                       {"status"_L1, status},
                       {"outcome"_L1, outcomeName(outcome)}};
    if (brief) {
        object["bodyBytes"_L1] = static_cast<qint64>(request.body.size());
        return object;
    }
    QJsonArray headers;
    for (const auto& [name, value] : request.headers)
        headers.append(QJsonArray{QString::fromStdString(name), QString::fromStdString(value)});
    object["headers"_L1] = headers;
    object["body"_L1] = QString::fromStdString(request.body);
    return object;
}

std::uint64_t RequestLog::add(LoggedRequest entry)
{
    entry.seq = next_++;
    entry.time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs).toStdString();
    bytes_ += entry.request.body.size();
    entries_.push_back(std::move(entry));
    while (entries_.size() > mostRequests || bytes_ > mostBytes) {
        bytes_ -= entries_.front().request.body.size();
        entries_.pop_front();
        ++forgotten_;
    }
    return next_ - 1;
}

std::optional<std::size_t> RequestLog::indexOf(std::uint64_t seq) const
{
    const auto first = entries_.empty() ? next_ : entries_.front().seq;
    return seq < first || seq >= next_ ? std::nullopt : std::optional(static_cast<std::size_t>(seq - first));
}

const LoggedRequest* RequestLog::find(std::uint64_t seq) const
{
    const auto index = indexOf(seq);
    return index ? &entries_[*index] : nullptr;
}

void RequestLog::end(std::uint64_t seq, int status, Outcome outcome)
{
    const auto index = indexOf(seq);
    if (!index)
        return;
    entries_[*index].status = status;
    entries_[*index].outcome = outcome;
}

void RequestLog::clear()
{
    entries_.clear();
    bytes_ = 0;
    forgotten_ = 0;
}

QJsonObject RequestLog::toJson(const RequestFilter& filter) const
{
    std::deque<const LoggedRequest*> wanted;
    for (auto entry = entries_.rbegin(); entry != entries_.rend() && entry->seq >= filter.since; ++entry) {
        if (filter.last != 0 && wanted.size() == filter.last)
            break;
        if (filter.server.empty() || entry->server == filter.server)
            wanted.push_front(&*entry);
    }
    QJsonArray requests;
    for (const auto* entry : wanted)
        requests.append(entry->toJson(filter.brief));
    return {{"requests"_L1, requests},
            {"first"_L1, static_cast<qint64>(entries_.empty() ? next_ : entries_.front().seq)},
            {"next"_L1, static_cast<qint64>(next_)},
            {"forgotten"_L1, static_cast<qint64>(forgotten_)}};
}

}  // namespace marksim
