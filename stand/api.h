#pragma once

#include "answer.h"
#include "behaviour.h"
#include "request.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marksim {

/// One method of an interface.
struct Route
{
    std::string_view method;  ///< its name in behaviours and in the log
    std::string_view verb;
    std::string_view path;
};

/// What one kind of server answers when nothing is wrong with it.
class Api
{
public:
    Api() = default;
    Api(const Api&) = delete;
    Api& operator=(const Api&) = delete;
    virtual ~Api() = default;

    [[nodiscard]] virtual std::span<const Route> routes() const = 0;
    /// A refusal when the request carries no right to be here.
    [[nodiscard]] virtual std::optional<Answer> refusal(const Request& request) const = 0;
    /// `method` is one of routes().
    [[nodiscard]] virtual Answer answer(std::string_view method, const Request& request,
                                        const Twist& twist) = 0;
};

/// A refusal of a request whose "X-API-KEY" is none of `keys`.
[[nodiscard]] std::optional<Answer> keyRefusal(const Request& request, const std::vector<std::string>& keys);

}  // namespace marksim
