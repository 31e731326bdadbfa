#pragma once

#include "stand/goods/goods.h"
#include "stand/http/message.h"

#include <QJsonObject>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace marksim {

/// One method of an interface.
struct Route
{
    QLatin1String method;  ///< its name in behaviours and in the log
    std::string_view verb;
    std::string_view path;
    /// The reply when nothing is wrong with the server, but for what "answers" of a behaviour does to a
    /// check's.
    std::function<Answer(const Request&, const QJsonObject&)> answer;
};

/// What one kind of server answers when nothing is wrong with it.
struct Api
{
    std::vector<Route> routes;
    /// A refusal when the request carries no right to be here.
    std::function<std::optional<Answer>(const Request&)> refusal;
};

/// An operator host: names the CDN sites and says that it is well. `sites` gives the base addresses to be
/// listed, asked anew for every request.
[[nodiscard]] Api operatorApi(const QStringList& keys, const std::function<QStringList()>& sites);

/// A CDN site: checks codes and says that it is well. `goods` are shared with the other servers and may
/// change between requests.
[[nodiscard]] Api siteApi(const QStringList& keys, const Goods& goods);

}  // namespace marksim
