#pragma once

#include "tests/model/world.h"

/// What a reply means to the client.
enum Class { Ok, Failed, ServerError, CrossBorder, Emergency, Refused, ProtocolError, Timeout, NetworkError };
inline constexpr const char* classes[] = {"ok",  "failed", "server error", "5000",         "203",
                                          "401", "4xx",    "time-out",     "network error"};

[[nodiscard]] Class classOf(const Reply& reply);
