#pragma once

#include "answer.h"
#include "behaviour.h"
#include "request.h"
#include "wire.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace marksim {

/// How one exchange ended, as the log of requests tells it.
enum class Outcome { Pending, Answered, Closed, Reset, Stalled, PeerLeft };

/// Everything that a connection needs to know to answer one request.
struct Exchange
{
    std::uint64_t id = 0;  ///< given back when the exchange has ended
    int status = 0;        ///< 0 when no status line is sent
    std::chrono::milliseconds delay{0};
    Wire wire;
    std::uint64_t limit = 0;  ///< bytes of `wire` that are sent
    std::optional<Drip> drip;
    Ending ending = Ending::KeepOpen;
    Outcome outcome = Outcome::Answered;  ///< what it comes to when the peer stays
};

/// Puts `answer` on the wire for `request`, with the faults of `behaviour` in it.
[[nodiscard]] Exchange planExchange(Answer answer, const Behaviour& behaviour, const Request& request);

/// The reply that `behaviour` gives whatever is asked; only for one that replacesAnswer().
[[nodiscard]] Answer fixedAnswer(const Behaviour& behaviour);

}  // namespace marksim
