#include "result/requeststatus.h"

#include <algorithm>
#include <array>

#include <QJsonObject>
#include <QJsonValue>

namespace {

struct StatusClass
{
    int first;
    int last;
    RequestStatus status;
};

/// The first row that holds the HTTP status gives the class; other statuses are judged by the exchange and
/// the body.
constexpr std::array statusClasses = {
    StatusClass{203, 203, RequestStatus::Emergency},     StatusClass{401, 401, RequestStatus::IncorrectToken},
    StatusClass{403, 404, RequestStatus::NetworkError},  StatusClass{429, 429, RequestStatus::ServerError},
    StatusClass{400, 499, RequestStatus::ProtocolError}, StatusClass{500, 599, RequestStatus::ServerError},
};

constexpr auto codeField = QLatin1String("code");

bool isCrossBorderUnavailable(const http::Response& response)
{
    constexpr int crossBorderUnavailable = 5000;
    return response.status() >= 500 &&
           response.responseObject().value(codeField).toInt(0) == crossBorderUnavailable;
}

bool saysOk(const QJsonObject& body)
{
    return body.value(codeField).toInt(-1) == 0 &&
           body.value(QLatin1String("description")).toString() == QLatin1String("ok");
}

}  // namespace

RequestStatus requestStatusOf(const http::Response& response)
{
    const int http = response.status();
    const auto* row = std::find_if(statusClasses.begin(), statusClasses.end(), [http](const StatusClass& c) {
        return c.first <= http && http <= c.last;
    });
    if (row != statusClasses.end()) {
        return row->status == RequestStatus::ServerError && isCrossBorderUnavailable(response)
                   ? RequestStatus::CrossBorderUnavailable
                   : row->status;
    }
    if (response.isTimeout()) {
        return RequestStatus::Timeout;
    }
    if (response.isNetworkError() || http == 0) {
        return RequestStatus::NetworkError;
    }
    return saysOk(response.responseObject()) ? RequestStatus::Ok : RequestStatus::Failed;
}
