#pragma once

#include <chrono>

#include <QDateTime>
#include <QString>

#include <network/response.h>

namespace http {

/// How far an exchange got: the last stage that was entered.
enum class Stage {
    Nowhere,    ///< it did not begin: a wrong address or header, no time left
    LookUp,     ///< the name was looked up
    Connect,    ///< a connection was asked for
    Handshake,  ///< TLS was negotiated
    Talk,       ///< the request was on its way or answered
};

/// What the transport knows of an exchange. With a proxy, look-up and connection are those of the proxy.
struct Transport
{
    Stage stage = Stage::Nowhere;
    /// More about a failure, in English; empty when there is none.
    QString detail;
    /// Address and port of the other end of the connection; empty when there was none.
    QString peer;
    /// How long after the begin the name was resolved, the connection made and TLS agreed on. Zero: not
    /// needed or not reached; with TLS the connection's time comes with that of TLS.
    std::chrono::microseconds resolved{0};
    std::chrono::microseconds connected{0};
    std::chrono::microseconds secured{0};
    /// "Date" of the reply, UTC, whole seconds; invalid when it has none.
    QDateTime serverTime;
    /// End of the server's certificate, UTC; invalid for a refused certificate, a plain or reused connection.
    QDateTime certificateEnd;
    /// OpenSSL's number for what is wrong with the server's certificate (X509_V_ERR_...): 10 for one that has
    /// expired, 18 to 21 for one of an authority that is not trusted. 0 for nothing, or only a wrong name.
    int certificateFault = 0;
};

/// One exchange of a RestClient, for hosts that watch what goes over the network. Holds nothing of the
/// request but its method and URL: no headers, hence no keys, and no body.
struct ExchangeRecord
{
    bool post = false;  ///< a POST, otherwise a GET
    /// What came of it, its URL included; also of an exchange that was refused before it began.
    Response response{};
    std::chrono::steady_clock::time_point begin;
    std::chrono::nanoseconds duration{0};
    Transport transport{};
};

}  // namespace http
