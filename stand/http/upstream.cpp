#include "stand/http/upstream.h"

#include <array>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url.hpp>
#include <spdlog/spdlog.h>

namespace marksim {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::use_awaitable;
using namespace asio::experimental::awaitable_operators;
using namespace Qt::StringLiterals;

namespace {

using Response = http::response<http::string_body>;

constexpr auto timeout = std::chrono::seconds(30);
constexpr std::uint64_t maxReplyBytes = 64UL * 1024 * 1024;
constexpr auto passedOnMark = "X-Marksim-Passed-On";

/// What concerns one connection alone, and what the faults could not be put into: a compressed body.
constexpr std::array ownHeaders = {
    http::field::connection,     http::field::keep_alive,     http::field::transfer_encoding,
    http::field::content_length, http::field::expect,         http::field::te,
    http::field::upgrade,        http::field::accept_encoding};

template <typename Message>
void removeOwnHeaders(Message& message)
{
    for (const auto field : ownHeaders) {
        message.erase(field);
    }
}

template <typename Stream>
asio::awaitable<Response> roundTrip(Stream& stream, const Request& request)
{
    boost::beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.body_limit(maxReplyBytes);
    parser.skip(request.method() == http::verb::head);
    co_await http::async_write(stream, request, use_awaitable);
    co_await http::async_read(stream, buffer, parser, use_awaitable);
    co_return parser.release();
}

asio::awaitable<Response> roundTripOverTls(boost::beast::tcp_stream tcp, std::string host,
                                           const Request& request)
{
    asio::ssl::context context(asio::ssl::context::tls_client);
    context.set_default_verify_paths();
    context.set_verify_mode(asio::ssl::verify_peer);
    asio::ssl::stream<boost::beast::tcp_stream> stream(std::move(tcp), context);
    stream.set_verify_callback(asio::ssl::host_name_verification(host));
    SSL_set_tlsext_host_name(stream.native_handle(), host.c_str());
    co_await stream.async_handshake(asio::ssl::stream_base::client, use_awaitable);
    co_return co_await roundTrip(stream, request);
}

asio::awaitable<Response> ask(boost::urls::url url, Request request)
{
    const auto executor = co_await asio::this_coro::executor;
    const auto host = url.host_address();
    const std::string port = url.has_port() ? std::string(url.port()) : std::string(url.scheme());
    asio::ip::tcp::resolver resolver(executor);
    const auto endpoints = co_await resolver.async_resolve(host, port, use_awaitable);
    boost::beast::tcp_stream tcp(executor);
    co_await tcp.async_connect(endpoints, use_awaitable);
    if (url.scheme() == "https") {
        co_return co_await roundTripOverTls(std::move(tcp), host, request);
    }
    co_return co_await roundTrip(tcp, request);
}

Request prepared(const boost::urls::url& url, const std::string& target, Request request)
{
    removeOwnHeaders(request);
    std::string path(url.encoded_path());
    path.erase(path.find_last_not_of('/') + 1);
    request.target(path + target);
    request.set(http::field::host, std::string(url.encoded_host_and_port()));
    request.set(passedOnMark, "1");
    request.keep_alive(false);
    request.prepare_payload();
    return request;
}

Answer toAnswer(Response response)
{
    removeOwnHeaders(response);
    Answer answer{static_cast<int>(response.result_int()), {}, std::move(response.body())};
    for (const auto& field : response) {
        answer.headers.emplace_back(field.name_string(), field.value());
    }
    return answer;
}

Answer nothingCame(const boost::urls::url& url, const std::string& reason)
{
    spdlog::warn("proxy: {}: {}", std::string(url.buffer()), reason);
    return Answer::refusal(502, u"proxy: "_s + QString::fromStdString(reason));
}

asio::awaitable<Answer> answerOf(boost::urls::url url, Request request)
{
    std::string reason;
    try {
        co_return toAnswer(co_await ask(url, std::move(request)));
    } catch (const boost::system::system_error& error) {
        reason = error.code().message();  // what() would name Boost's source, too
    } catch (const std::exception& error) {
        reason = error.what();
    }
    co_return nothingCame(url, reason);
}

/// A failure is an answer, too: of two operations side by side one that throws would wait for the other.
asio::awaitable<Answer> answerInTime(boost::urls::url url, Request request)
{
    asio::steady_timer timer(co_await asio::this_coro::executor, timeout);
    auto outcome = co_await (answerOf(url, std::move(request)) || timer.async_wait(use_awaitable));
    auto* answer = std::get_if<Answer>(&outcome);
    co_return answer ? std::move(*answer) : nothingCame(url, "no reply in time");
}

}  // namespace

bool isPassedOn(const Request& request)
{
    return request.count(passedOnMark) != 0;
}

bool isServerAddress(const std::string& address)
{
    const auto url = boost::urls::parse_uri(address);
    return url && (url->scheme() == "http" || url->scheme() == "https") && !url->host().empty() &&
           !url->has_userinfo() && !url->has_query() && !url->has_fragment();
}

void passOn(const asio::any_io_executor& executor, const std::string& address, const std::string& target,
            Request request, std::function<void(Answer)> done)
{
    const boost::urls::url url(boost::urls::parse_uri(address).value());
    asio::co_spawn(
        executor, answerInTime(url, prepared(url, target, std::move(request))),
        [done = std::move(done)](const std::exception_ptr&, Answer answer) { done(std::move(answer)); });
}

}  // namespace marksim
