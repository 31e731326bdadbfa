#pragma once

#include <chrono>

#include <QHash>
#include <QString>
#include <QUrl>

#include <network/exchangerecord.h>

namespace poshost {

/// One GET with the host's HTTP client, in this thread, while `step` is shown as what is being done. `limit`
/// is the settings' one; nobody waits for longer than 30 s. Another exchange observer is lost. Throws
/// FatalError once a signal has come.
[[nodiscard]] http::ExchangeRecord ask(const QString& step, const QUrl& url,
                                       const QHash<QString, QString>& headers, std::chrono::seconds limit);

[[nodiscard]] std::chrono::milliseconds elapsedOf(const http::ExchangeRecord& exchange);

/// Why an exchange got no complete reply of the server that was meant, and what to do.
struct Trouble
{
    const char* id = nullptr;  ///< null when there was a reply
    QString text;
    QString advice;

    explicit operator bool() const { return id != nullptr; }
};

[[nodiscard]] Trouble troubleOf(const http::ExchangeRecord& exchange);

}  // namespace poshost
