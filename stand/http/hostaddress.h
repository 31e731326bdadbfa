#pragma once

#include <string>

namespace marksim {

/// Where ports are opened, and under what name others reach them.
struct HostAddress
{
    std::string bind;  ///< an IP address
    std::string host;  ///< as it stands in a URL: a name or an address, IPv6 in brackets

    /// For ports bound to `bind`. `publicHost`, a name or an address, comes first; without one the address
    /// itself is handed out, for 0.0.0.0 and :: the first address of this machine that others can reach.
    /// Throws InputError when there is none.
    [[nodiscard]] static HostAddress of(const std::string& bind, const std::string& publicHost);
};

/// Whether no other machine reaches ports that are bound to this IP address.
[[nodiscard]] bool isLoopback(const std::string& bind);

/// What is wrong with a host name or an IP address, in words; empty when nothing is.
[[nodiscard]] std::string hostProblem(const std::string& text);

/// What OpenSSL calls a subject's alternative name: "DNS:stand.example", "IP:192.0.2.7".
[[nodiscard]] std::string alternativeName(const std::string& host);

}  // namespace marksim
