#include "poshost/checktrace.h"

#include <utility>

#include <log4qt/logmanager.h>
#include <network/restclient.h>

namespace poshost {

CheckTrace::CheckTrace()
{
    RestClient::setExchangeObserver([this](const http::ExchangeRecord& exchange) { add(exchange); });
    Log4Qt::LogManager::setWatcher([this](const Log4Qt::LogRecord& line) { add(line.text); },
                                   Log4Qt::Level::Debug);
}

CheckTrace::~CheckTrace()
{
    Log4Qt::LogManager::setWatcher({});
    RestClient::setExchangeObserver({});
}

void CheckTrace::add(TraceEntry entry)
{
    if (std::this_thread::get_id() == m_owner) {
        m_entries.append(std::move(entry));
    }
}

}  // namespace poshost
