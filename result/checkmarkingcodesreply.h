#pragma once

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
    CheckMarkingCodesReply();
    explicit CheckMarkingCodesReply(const http::Response& response);
    /// A copy of `response` that carries `object` in place of the body's JSON object.
    CheckMarkingCodesReply(const http::Response& response, const QJsonObject& object);
    CheckMarkingCodesReply(const CheckMarkingCodesReply&);
    CheckMarkingCodesReply(CheckMarkingCodesReply&&) noexcept;
    CheckMarkingCodesReply& operator=(const CheckMarkingCodesReply&);
    CheckMarkingCodesReply& operator=(CheckMarkingCodesReply&&) noexcept;
    ~CheckMarkingCodesReply() override;

    [[nodiscard]] QJsonObject responseObject() const override;
    /// Whether responseObject() is not that of the body.
    [[nodiscard]] bool hasOwnObject() const { return m_object.has_value(); }

private:
    std::optional<QJsonObject> m_object;
};
