#pragma once

#include <memory>

#include <curl/curl.h>

#include <QUrl>

/// The URL of a request as libcurl takes it, kept in its parts as long as the same one is asked for: a
/// request that gives it as text has it read anew. Internal to the library. Threads: one at a time.
class RequestUrl
{
public:
    /// Takes over `url` without its fragment. False when it names no host or another scheme than http and
    /// https; handle() is then not to be used.
    [[nodiscard]] bool set(const QUrl& url);

    /// Valid until the next set().
    [[nodiscard]] CURLU* handle() const { return m_handle.get(); }

private:
    struct CleanUp
    {
        void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
    };

    QUrl m_url;
    std::unique_ptr<CURLU, CleanUp> m_handle;
};
