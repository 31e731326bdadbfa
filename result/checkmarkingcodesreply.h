#pragma once

#include <compare>
#include <optional>

#include <QJsonObject>

#include <network/response.h>
#include <utils/export.h>

/// The HTTP reply of a check request. Its JSON object is that of the body unless another one is put in its
/// place: a local module answers with several checks in one body, each of which is read as a reply of its
/// own.
class ORVEX_EXPORT CheckMarkingCodesReply : public http::Response
{
public:
    CheckMarkingCodesReply() = default;
    explicit CheckMarkingCodesReply(const http::Response& response)
        : http::Response(response)
    {
    }
    /// A copy of `response` that carries `object` in place of the body's JSON object.
    CheckMarkingCodesReply(const http::Response& response, const QJsonObject& object)
        : http::Response(response)
        , m_object(object)
    {
    }

    [[nodiscard]] QJsonObject responseObject() const override
    {
        return m_object ? *m_object : http::Response::responseObject();
    }

    /// Equal are replies that are alike in everything. The order has no meaning of its own.
    [[nodiscard]] std::weak_ordering operator<=>(const CheckMarkingCodesReply& other) const;
    [[nodiscard]] bool operator==(const CheckMarkingCodesReply& other) const
    {
        return std::is_eq(*this <=> other);
    }

private:
    std::optional<QJsonObject> m_object;
};
