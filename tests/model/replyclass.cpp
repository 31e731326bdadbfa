#include "tests/model/replyclass.h"

Class classOf(const Reply& reply)
{
    const int status = reply.status;
    if (status == 203 || status == 401) {
        return status == 203 ? Emergency : Refused;
    }
    if (status == 403 || status == 404) {
        return NetworkError;
    }
    if (status >= 400 && status <= 499) {
        return status == 429 ? ServerError : ProtocolError;
    }
    if (status >= 500 && status <= 599) {
        return reply.code == 5000 ? CrossBorder : ServerError;
    }
    if (reply.timeout) {
        return Timeout;
    }
    if (reply.networkError || status == 0) {
        return NetworkError;
    }
    return reply.code == 0 && reply.describedOk ? Ok : Failed;
}
