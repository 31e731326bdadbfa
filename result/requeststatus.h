#pragma once

#include <network/response.h>

/// What a reply of the operator means for the request that it answers.
enum class RequestStatus : int {
    Ok = 0,
    /// A complete reply that does not say "ok", or whose body is no JSON object; taken as it is all the same.
    /// A code that it does not mention fails then.
    Failed = 1,
    /// The site is overloaded or out of order (429, 5xx): it goes into quarantine, the next one is asked.
    ServerError = 2,
    /// The site's link to the foreign marking systems is out of order.
    CrossBorderUnavailable = 3,
    /// The operator has declared an emergency: goods may be sold without a check.
    Emergency = 4,
    /// The API key was refused; the reply is taken as it is, so the codes fail, and the cashier is told.
    IncorrectToken = 5,
    /// The site does not understand the request.
    ProtocolError = 6,
    /// No complete reply within the time.
    Timeout = 7,
    /// The site could not be reached, or something that is not the site answered in its place.
    NetworkError = 8,
};

/// Sorts a reply into its class. The only place where HTTP statuses of the operator are looked at. Pure.
[[nodiscard]] RequestStatus requestStatusOf(const http::Response& response);
