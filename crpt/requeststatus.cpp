#include "crpt/requeststatus.h"

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
constexpr std::array StatusClasses = {
    StatusClass{203, 203, RequestStatus::Emergency},     StatusClass{401, 401, RequestStatus::IncorrectToken},
    StatusClass{403, 404, RequestStatus::NetworkError},  StatusClass{429, 429, RequestStatus::ServerError},
    StatusClass{400, 499, RequestStatus::ProtocolError}, StatusClass{500, 599, RequestStatus::ServerError},
};

constexpr auto Code = QLatin1String("code");

bool isCrossBorderUnavailable(const http::Response& response)
{
    constexpr int crossBorderUnavailable = 5000;
    return response.status() >= 500 &&
           response.responseObject().value(Code).toInt(0) == crossBorderUnavailable;
}

bool saysOk(const QJsonObject& body)
{
    return body.value(Code).toInt(-1) == 0 &&
           body.value(QLatin1String("description")).toString() == QLatin1String("ok");
}

}  // namespace

RequestStatus requestStatusForWalk(const http::Response& response)
{
    const int http = response.status();
    const auto* row = std::find_if(StatusClasses.begin(), StatusClasses.end(), [http](const StatusClass& c) {
        return c.first <= http && http <= c.last;
    });
    if (row != StatusClasses.end()) {
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
    return RequestStatus::Ok;
}

RequestStatus requestStatusOf(const http::Response& response)
{
    const RequestStatus status = requestStatusForWalk(response);
    return status == RequestStatus::Ok && !saysOk(response.responseObject()) ? RequestStatus::Failed : status;
}
