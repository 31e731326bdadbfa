#pragma once

namespace http {

/// What an exchange with failover between sites came to, recorded in its last Response.
enum class ErrorKind : int {
    /// The reply was taken as it is.
    None = 0,
    /// The other side is out of order in a way that permits the sale without its verdict.
    SalePermitted = 1,
    /// No site could be reached because of network faults, or the last update of the site list failed.
    Unreachable = 2,
    /// The last site failed, and its list could not be fetched anew because no token for it is set.
    NoToken = 3,
};

}  // namespace http
