#pragma once

#include <chrono>
#include <memory>

#include <curl/curl.h>

#include <QByteArray>
#include <QHash>
#include <QString>

#include <network/exchangerecord.h>
#include <network/failure.h>
#include <network/requestheaders.h>

/// One HTTP connection and the exchanges over it, one after another. Internal to the library. Threads: one at
/// a time.
class Exchange
{
public:
    struct Settings
    {
        /// PEM file with the trusted certificates; empty for the system's.
        QString caFile;
        /// URL of a proxy; empty for none.
        QString proxy;
        size_t maxReplyBytes = 0;
    };
    struct Request
    {
        bool post = false;
        /// Not null; as it is until the exchange has ended.
        CURLU* url = nullptr;
        QByteArray body;
        const QHash<QString, QString>& headers;
        /// Limit of the whole exchange, whole milliseconds; zero for none.
        std::chrono::milliseconds limit{};
        /// Fill in Result::detail.
        bool detailed = false;
        /// Fill in Result::transport.
        bool watched = false;
    };
    struct Result
    {
        Failure failure = Failure::None;
        /// 0 when no status line came.
        int status = 0;
        QByteArray body{};
        /// libcurl's own words for a failure, for the log.
        QString detail{};
        http::Transport transport{};
    };

    explicit Exchange(const Settings& settings);
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    ~Exchange();

    [[nodiscard]] Result run(const Request& request);

private:
    struct CleanUpEasy
    {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    };
    using Easy = std::unique_ptr<CURL, CleanUpEasy>;
    struct CleanUpMulti
    {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };
    /// What a handle has been told of its last exchange and keeps for one of the same kind.
    struct Kind
    {
        bool post = false, body = false, close = false, watched = false;

        bool operator==(const Kind& other) const = default;
    };
    /// What the transfer itself ended in, before it is judged.
    struct Ending
    {
        CURLcode code = CURLE_OK;
        bool canceled = false;
    };

    static size_t onBody(char* bytes, size_t size, size_t count, void* exchange);
    static size_t onHeader(char* bytes, size_t size, size_t count, void* exchange);

    void applySettings(const Settings& settings);
    void takeHandle(const Kind& kind);
    void prepareSpare();
    void applyKind();
    [[nodiscard]] Ending transfer();
    [[nodiscard]] CURLcode transferCode();
    [[nodiscard]] Failure judge(const Ending& ending, bool limitReached) const;
    [[nodiscard]] long info(CURLINFO what) const;
    [[nodiscard]] qsizetype announcedLength() const;
    [[nodiscard]] std::chrono::microseconds time(CURLINFO what) const;
    [[nodiscard]] http::Transport transport(CURLcode code) const;
    [[nodiscard]] QString peer() const;
    [[nodiscard]] http::Stage stage(CURLcode code) const;
    [[nodiscard]] QDateTime serverTime() const;
    [[nodiscard]] QDateTime certificateEnd() const;

    /// Holds the open connections. A transfer is driven through it rather than by curl_easy_perform(), which
    /// nothing can wake.
    std::unique_ptr<CURLM, CleanUpMulti> m_multi;
    Easy m_prototype;  ///< has the settings; copied for a fresh handle
    Easy m_easy;       ///< of this exchange, or the last one
    Kind m_kind;       ///< what m_easy has been told
    Easy m_used;       ///< that of the exchange before, to be let go when nobody waits
    Easy m_spare;      ///< a fresh one for the next exchange
    RequestHeaders m_headers;
    QByteArray m_requestBody;
    QByteArray m_replyBody;
    size_t m_maxReplyBytes;
    size_t m_headBytes = 0;
    bool m_headEnded = false;
    bool m_tooLarge = false;
    bool m_proxied;
    char m_error[CURL_ERROR_SIZE] = {};
};
