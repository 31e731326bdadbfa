#include "api.h"

#include <algorithm>

namespace marksim {

using namespace Qt::StringLiterals;

std::optional<Answer> keyRefusal(const Request& request, const std::vector<std::string>& keys)
{
    const auto key = request.header("X-API-KEY");
    if (key && std::find(keys.begin(), keys.end(), *key) != keys.end())
        return std::nullopt;
    return Answer::refusal(401, key ? u"Unauthorized: the token is unknown or has expired"_s
                                    : u"Unauthorized: the header X-API-KEY is missing"_s);
}

}  // namespace marksim
