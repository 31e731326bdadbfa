#pragma once

#include <chrono>
#include <thread>
#include <variant>

#include <QList>
#include <QString>

#include <network/exchangerecord.h>

namespace poshost {

/// What a thread did: an exchange that it made, or a line that it logged (masked, level debug and above).
using TraceEntry = std::variant<http::ExchangeRecord, QString>;

/// Takes down what the thread that made it does over HTTP and says in the log, while it lives. A check runs
/// from its begin to its end in the thread that asks for it, so what other threads do meanwhile (a list
/// update, a ping) is no part of it and is left out. One at a time; it takes the log's watcher.
class CheckTrace
{
public:
    CheckTrace();
    CheckTrace(const CheckTrace&) = delete;
    CheckTrace& operator=(const CheckTrace&) = delete;
    ~CheckTrace();

    /// In the order in which they happened. For the thread that made it.
    [[nodiscard]] const QList<TraceEntry>& entries() const { return m_entries; }
    [[nodiscard]] std::chrono::steady_clock::time_point begin() const { return m_begin; }

private:
    void add(TraceEntry entry);

    const std::thread::id m_owner = std::this_thread::get_id();
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    QList<TraceEntry> m_entries;
};

}  // namespace poshost
