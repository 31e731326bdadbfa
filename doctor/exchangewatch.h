#pragma once

#include <network/exchangerecord.h>

namespace doctor {

/// Remembers the last exchange that was made, while it lives. One at a time; for a program that makes its
/// exchanges in one thread.
class ExchangeWatch
{
public:
    ExchangeWatch();
    ExchangeWatch(const ExchangeWatch&) = delete;
    ExchangeWatch& operator=(const ExchangeWatch&) = delete;
    ~ExchangeWatch();

    /// The exchange made since the last call; a default one (Stage::Nowhere) when there was none.
    [[nodiscard]] http::ExchangeRecord take();

private:
    http::ExchangeRecord m_last;
};

[[nodiscard]] std::chrono::milliseconds elapsedOf(const http::ExchangeRecord& exchange);

}  // namespace doctor
