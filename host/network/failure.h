#pragma once

#include <curl/curl.h>

#include <QString>

#include <network/messages.h>
#include <network/networkerror.h>
#include <utils/tr.h>

/// Why an exchange came to no complete reply. One of the constants below, known by its address. Internal to
/// the library.
struct Failure
{
    http::NetworkError error;
    const char16_t* id;
    const char16_t* text;
};

namespace failure {

using http::NetworkError;

inline constexpr Failure timeout{NetworkError::Timeout, u"networkTimeout", http::messages::timeout};
// What this side caused.
inline constexpr Failure canceled{NetworkError::OperationCanceled, u"networkCanceled", u"обращение отменено"};
inline constexpr Failure badHeader{NetworkError::OperationCanceled, u"networkBadHeader",
                                   u"недопустимый заголовок запроса"};
inline constexpr Failure tooLarge{NetworkError::OperationCanceled, u"networkReplyTooLarge",
                                  u"слишком большой ответ"};
// What the address, the network or the other side caused.
inline constexpr Failure badUrl{NetworkError::ProtocolUnknown, u"networkBadUrl", u"недопустимый адрес"};
inline constexpr Failure refused{NetworkError::ConnectionRefused, u"networkConnectionRefused",
                                 u"соединение отклонено"};
inline constexpr Failure unreachable{NetworkError::UnknownNetworkError, u"networkUnreachable",
                                     u"не удалось установить соединение"};
inline constexpr Failure closed{NetworkError::RemoteHostClosed, u"networkClosed",
                                u"соединение прервано до получения полного ответа"};
inline constexpr Failure hostNotFound{NetworkError::HostNotFound, u"networkHostNotFound",
                                      u"сервер не найден"};
inline constexpr Failure tls{NetworkError::SslHandshakeFailed, u"networkTls",
                             u"не удалось установить защищенное соединение"};
inline constexpr Failure proxyUnreachable{NetworkError::ProxyConnectionRefused, u"networkProxyUnreachable",
                                          u"не удалось соединиться с прокси-сервером"};
inline constexpr Failure proxyNotFound{NetworkError::ProxyNotFound, u"networkProxyNotFound",
                                       u"прокси-сервер не найден"};
inline constexpr Failure proxyDenied{NetworkError::ProxyAuthenticationRequired, u"networkProxyDenied",
                                     u"прокси-сервер требует авторизации"};
inline constexpr Failure badReply{NetworkError::ProtocolFailure, u"networkBadReply", u"некорректный ответ"};
inline constexpr Failure other{NetworkError::UnknownNetworkError, u"networkError", u"ошибка сети"};

}  // namespace failure

/// What libcurl's code stands for, null for CURLE_OK; `osError` is the errno of a failed connection.
[[nodiscard]] const Failure* failureOf(CURLcode code, long osError);

/// The message for the cashier. `target` names the other side, in the dative.
[[nodiscard]] tr::Tr textOf(const Failure& failure, const QString& target);
/// The same for a complete reply with a status of 400 and above.
[[nodiscard]] tr::Tr textOfStatus(int httpStatus, const QString& target);
