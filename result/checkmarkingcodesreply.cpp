#include "result/checkmarkingcodesreply.h"

CheckMarkingCodesReply::CheckMarkingCodesReply() = default;

CheckMarkingCodesReply::CheckMarkingCodesReply(const http::Response& response)
    : http::Response(response)
{
}

CheckMarkingCodesReply::CheckMarkingCodesReply(const http::Response& response, const QJsonObject& object)
    : http::Response(response)
    , m_object(object)
{
}

CheckMarkingCodesReply::CheckMarkingCodesReply(const CheckMarkingCodesReply&) = default;
CheckMarkingCodesReply::CheckMarkingCodesReply(CheckMarkingCodesReply&&) noexcept = default;
CheckMarkingCodesReply& CheckMarkingCodesReply::operator=(const CheckMarkingCodesReply&) = default;
CheckMarkingCodesReply& CheckMarkingCodesReply::operator=(CheckMarkingCodesReply&&) noexcept = default;
CheckMarkingCodesReply::~CheckMarkingCodesReply() = default;

QJsonObject CheckMarkingCodesReply::responseObject() const
{
    return m_object ? *m_object : http::Response::responseObject();
}
