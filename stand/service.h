#pragma once

#include "answer.h"
#include "behaviour.h"
#include "exchange.h"
#include "request.h"

#include <cstdint>

namespace marksim {

/// One accepted connection.
struct ConnectionInfo
{
    std::uint64_t id = 0;  ///< unique in the process
    std::uint16_t remotePort = 0;
};

/// What answers on a port. It outlives the connections that use it; all calls come from the one thread.
class Service
{
public:
    Service() = default;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    virtual ~Service() = default;

    /// How a connection that was just accepted is to be treated.
    virtual Behaviour welcome() = 0;
    virtual Exchange serve(const Request& request, const ConnectionInfo& connection) = 0;
    /// `status` is 0 when nothing of the reply went out.
    virtual void ended(std::uint64_t exchange, int status, Outcome outcome) = 0;
    /// The reply to what is no request, or one that is too large.
    [[nodiscard]] virtual Answer refusal(int status, const QString& reason) const = 0;
    /// Bodies beyond it are answered with 413.
    [[nodiscard]] virtual std::uint64_t largestBody() const = 0;
};

}  // namespace marksim
