#include "poshost/story/checktrace.h"

#include <log4qt/logmanager.h>
#include <network/restclient.h>

namespace poshost {

using std::chrono::steady_clock;

CheckTrace::CheckTrace()
{
    RestClient::setExchangeObserver(
        [this](const http::ExchangeRecord& exchange) { add(exchange.begin, exchange); });
    Log4Qt::LogManager::setWatcher(
        [this](const Log4Qt::LogRecord& line) { add(steady_clock::now(), line.text); }, Log4Qt::Level::Debug);
}

CheckTrace::~CheckTrace()
{
    Log4Qt::LogManager::setWatcher({});
    RestClient::setExchangeObserver({});
}

CheckStory CheckTrace::story() const
{
    CheckStory story = m_builder.story();
    story.total = steady_clock::now() - m_begin;
    return story;
}

template <class Entry>
void CheckTrace::add(steady_clock::time_point at, const Entry& entry)
{
    if (std::this_thread::get_id() == m_owner) {
        m_builder.add(at - m_begin, entry);
    }
}

}  // namespace poshost
