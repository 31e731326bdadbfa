#include "answer.h"

#include <QJsonDocument>
#include <boost/beast/http/status.hpp>

namespace marksim {

using namespace Qt::StringLiterals;

Answer Answer::json(int status, const QJsonObject& object)
{
    return {status,
            {{"Content-Type", "application/json;charset=UTF-8"}},
            QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString()};
}

Answer Answer::refusal(int status, int code, const QString& description)
{
    return json(status, {{"code"_L1, code}, {"description"_L1, description}});
}

std::string_view reasonPhrase(int status)
{
    namespace http = boost::beast::http;
    const auto known = http::int_to_status(static_cast<unsigned>(status));
    if (known == http::status::unknown)
        return {};
    const auto phrase = http::obsolete_reason(known);
    return {phrase.data(), phrase.size()};
}

}  // namespace marksim
