#pragma once

#include "stand/http/message.h"
#include "stand/http/wire.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace marksim {

/// What happens to a connection before any request on it is read.
enum class Connect {
    Normal,
    Refuse,      ///< the port is closed, connections that are open are reset
    Unanswered,  ///< attempts to connect get no answer, connections that are open are reset
    Reset,       ///< accepted, then reset at the first bytes (of a request or of the TLS handshake)
    Close,       ///< accepted, then closed at the first bytes
    Silent,      ///< accepted, never read
};

/// How one exchange ended, as the log of requests tells it.
enum class Outcome { Pending, Answered, Closed, Reset, Stalled, PeerLeft, HandshakeFailed };

/// How a connection goes on once the last byte of a reply is sent.
enum class Ending { KeepOpen, Close, Reset, Stall };

/// One accepted connection.
struct ConnectionInfo
{
    std::uint64_t id = 0;  ///< unique in the process
    std::uint16_t remotePort = 0;
};

/// How a connection that was just accepted is treated.
struct ConnectionPlan
{
    Connect connect = Connect::Normal;
    QString certificate;  ///< kind of the certificate that is shown over TLS
};

/// Everything that a connection needs to know to answer one request.
struct Exchange
{
    std::uint64_t id = 0;  ///< given back when the exchange has ended
    int status = 0;        ///< 0 when no status line is sent
    std::chrono::milliseconds delay{0};
    Wire wire;
    std::uint64_t limit = 0;      ///< bytes of `wire` that are sent
    std::uint64_t dripBytes = 0;  ///< size of the pieces of the body; 0: as large as they come
    std::chrono::milliseconds dripEvery{0};
    Ending ending = Ending::KeepOpen;
    Outcome outcome = Outcome::Answered;  ///< unless the peer leaves before
};

/// What answers on a port. It outlives the connections that use it; all calls come from the one thread.
class Service
{
public:
    Service() = default;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    virtual ~Service() = default;

    virtual ConnectionPlan onAccept() { return {}; }
    /// Calls `answer` once, at once or later, unless the process ends before.
    virtual void serve(Request request, const ConnectionInfo& connection,
                       std::function<void(Exchange)> answer) = 0;
    /// `status` is 0 when nothing of the reply went out.
    virtual void onEnd(std::uint64_t /*exchange*/, int /*status*/, Outcome) {}
    /// A connection came to nothing before any request: by its treatment, or because TLS was not agreed on.
    virtual void onRefused(const ConnectionInfo&, Outcome, const QString& /*reason*/) {}
    /// The reply to what is no request, or one that is too large.
    [[nodiscard]] virtual Exchange refuse(int status, const QString& reason) const = 0;
    /// Bodies beyond it are answered with 413.
    [[nodiscard]] virtual std::uint64_t maxBodyBytes() const = 0;
};

}  // namespace marksim
