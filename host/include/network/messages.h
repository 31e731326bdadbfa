#pragma once

#include <QString>

/// What the HTTP client writes into the log of whoever asks, for it and for whoever explains the log.
namespace http::messages {

/// Method, address, HTTP status, duration; behind it, when the exchange failed, ". " and why.
inline const auto exchange = QStringLiteral("%1 %2: %3, %4 мс");
/// The end of why when the deadline has passed.
inline constexpr char16_t timeout[] = u"превышено время ожидания ответа";

}  // namespace http::messages
