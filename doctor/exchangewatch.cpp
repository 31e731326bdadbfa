#include "doctor/exchangewatch.h"

#include <utility>

#include <network/restclient.h>

namespace doctor {

ExchangeWatch::ExchangeWatch()
{
    RestClient::setExchangeObserver([this](const http::ExchangeRecord& exchange) { m_last = exchange; });
}

ExchangeWatch::~ExchangeWatch()
{
    RestClient::setExchangeObserver({});
}

http::ExchangeRecord ExchangeWatch::take()
{
    return std::exchange(m_last, {});
}

std::chrono::milliseconds elapsedOf(const http::ExchangeRecord& exchange)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(exchange.duration);
}

}  // namespace doctor
