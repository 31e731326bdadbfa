#pragma once

#include <QString>

#include <network/exchangerecord.h>

namespace doctor {

/// Why an exchange got no complete reply, and what to do.
struct Trouble
{
    const char* id = nullptr;  ///< null when there was a reply
    QString text;              ///< in Russian
    QString advice;            ///< in Russian

    explicit operator bool() const { return id != nullptr; }
};

[[nodiscard]] Trouble troubleOf(const http::ExchangeRecord& exchange);

}  // namespace doctor
