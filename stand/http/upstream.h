#pragma once

#include "stand/http/message.h"

#include <boost/asio/any_io_executor.hpp>
#include <functional>

namespace marksim {

/// Whether passOn() can send anything there: http or https, a host, no user and no query.
[[nodiscard]] bool isServerAddress(const std::string& address);

/// Whether passOn() has sent it, here or in another stand: to send it on again could go round in a circle.
[[nodiscard]] bool isPassedOn(const Request& request);

/// Sends a request on to `address`, "http://host:port/path" or "https://...", with `target` behind its path,
/// and hands back what is answered there. Of https the certificate is verified against the system's
/// authorities. The request carries a mark that isPassedOn() knows. When no reply comes within 30 s, or none
/// that can be read, it hands back a 502 that says why. `done` is called once, later, in the thread of the
/// executor, unless that ends before.
void passOn(const boost::asio::any_io_executor& executor, const std::string& address,
            const std::string& target, Request request, std::function<void(Answer)> done);

}  // namespace marksim
