#pragma once

#include <memory>
#include <vector>

#include <poll.h>

#include <QString>
#include <curl/curl.h>

template <auto CleanUp>
struct CurlDeleter
{
    void operator()(auto* handle) const { CleanUp(handle); }
};

// libcurl's handles with an owner.
using CurlEasy = std::unique_ptr<CURL, CurlDeleter<curl_easy_cleanup>>;
using CurlMulti = std::unique_ptr<CURLM, CurlDeleter<curl_multi_cleanup>>;
using CurlList = std::unique_ptr<curl_slist, CurlDeleter<curl_slist_free_all>>;

/// The connections that one client keeps open, and how new ones are made. Internal to the library. Threads:
/// one at a time.
class Connections
{
public:
    /// `caFile`: PEM file with the trusted certificates, empty for the system's. `proxy`: its URL, empty for
    /// none.
    Connections(const QString& caFile, const QString& proxy);
    /// Closes them all, and frees what OpenSSL keeps for this thread.
    ~Connections();
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    [[nodiscard]] bool throughProxy() const { return m_throughProxy; }

    /// A fresh handle with the settings, null without memory. It must not outlive the connections. libcurl
    /// 7.88 writes to freed memory when a handle that has read a reply is used again and the next reply's
    /// first header line begins with a blank, so each exchange takes one of its own.
    [[nodiscard]] CurlEasy newHandle() const;

    /// Where the next exchange is to run, null without memory. libcurl would use a kept connection again
    /// although bytes wait there that belong to no request, and take them for the reply: once anything can be
    /// read from one of them, or its peer has closed it, all are dropped.
    [[nodiscard]] CURLM* forNextExchange();

    /// Closes them all.
    void drop() { m_multi.reset(); }

private:
    static curl_socket_t openSocket(void* connections, curlsocktype, curl_sockaddr* address);
    static int closeSocket(void* connections, curl_socket_t socket);

    bool m_throughProxy;
    std::vector<pollfd> m_sockets;  ///< every open one; outlives the handles, which close them
    CurlEasy m_prototype;
    CurlMulti m_multi;
};
