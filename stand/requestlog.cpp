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

QJsonObject LoggedRequest::toJson() const
{
    QJsonArray headers;
    for (const auto& [name, value] : request.headers)
        headers.append(QJsonArray{QString::fromStdString(name), QString::fromStdString(value)});
    return {{"seq"_L1, static_cast<qint64>(seq)},
            {"time"_L1, QString::fromStdString(time)},
            {"server"_L1, QString::fromStdString(server)},
            {"api"_L1, QString::fromStdString(method)},
            {"connection"_L1, static_cast<qint64>(connection)},
            {"remotePort"_L1, remotePort},
            {"method"_L1, QString::fromStdString(request.verb)},
            {"path"_L1, QString::fromStdString(request.target)},
            {"headers"_L1, headers},
            {"body"_L1, QString::fromStdString(request.body)},
            {"status"_L1, status},
            {"outcome"_L1, outcomeName(outcome)}};
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

void RequestLog::end(std::uint64_t seq, int status, Outcome outcome)
{
    const auto found =
        std::lower_bound(entries_.begin(), entries_.end(), seq,
                         [](const LoggedRequest& entry, std::uint64_t wanted) { return entry.seq < wanted; });
    if (found == entries_.end() || found->seq != seq)
        return;
    found->status = status;
    found->outcome = outcome;
}

void RequestLog::clear()
{
    entries_.clear();
    bytes_ = 0;
    forgotten_ = 0;
}

QJsonObject RequestLog::toJson(std::uint64_t since, const std::string& server) const
{
    QJsonArray requests;
    for (const auto& entry : entries_) {
        if (entry.seq >= since && (server.empty() || entry.server == server))
            requests.append(entry.toJson());
    }
    return {{"requests"_L1, requests},
            {"next"_L1, static_cast<qint64>(next_)},
            {"forgotten"_L1, static_cast<qint64>(forgotten_)}};
}

}  // namespace marksim
