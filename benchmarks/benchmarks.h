#pragma once

#include "benchmarks/figure.h"

namespace bench {

/// Verification actions through the plug-in against a bare request with the same body to the same site.
[[nodiscard]] Figure measureCheck();
/// A reply's bytes to a result, against the reading of the JSON alone.
[[nodiscard]] Figure measureReply();
/// How the cost of what is done with a result grows with the number of codes.
[[nodiscard]] Figure measureGrowth();
/// The time to a verdict while sites are dead, against two load balancers in front of the same servers.
[[nodiscard]] Figure measureFailover();
/// Loading, the first check, what the plug-in holds, and what it does while nothing is asked of it.
[[nodiscard]] Figure measureStart();
/// Checks from several threads, and beside pings and list updates.
[[nodiscard]] Figure measureContention();

/// A part of measureStart(): a process of its own that loads the plug-in once, checks once, and prints what
/// it measured as one line of JSON.
int startOnce(const QString& operatorUrl);
/// Checks of this many codes under callgrind, which counts the instructions of one of them.
int checkOnce(int codes);
/// The same of the bare request that a check is held against.
int requestOnce(int codes);

}  // namespace bench
