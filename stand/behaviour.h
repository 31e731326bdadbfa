#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace marksim {

/// What happens to a connection before any request on it is read.
enum class Connect {
    Normal,
    Refuse,      ///< the port is closed, connections that are open are reset
    Unanswered,  ///< attempts to connect get no answer, connections that are open are reset
    Reset,       ///< accepted, then reset at the first bytes (of a request or of the TLS handshake)
    Close,       ///< accepted, then closed at the first bytes
    Silent,      ///< accepted, never read
};

/// True for what keeps a connection from being accepted at all.
[[nodiscard]] bool isAtTheDoor(Connect connect);

/// Which certificate is shown when the stand runs with TLS.
enum class Certificate { Good, WrongHost, Expired, SelfSigned };

/// How a reply's body is delimited.
enum class Framing {
    Length,       ///< a right Content-Length
    ShortLength,  ///< a Content-Length one byte less than the body
    LongLength,   ///< a Content-Length one byte more than the body, then the end of the connection
    Chunked,
    BadChunks,   ///< a chunk size that is no number
    UntilClose,  ///< no length, the end of the connection ends the body
};

enum class Encoding { Identity, Gzip, LyingGzip };

enum class Payload { Normal, Malformed, Empty };

/// How an exchange ends once its last byte is sent.
enum class Ending { KeepOpen, Close, Reset, Stall };

/// Ends a reply early (or right after its end).
struct Cut
{
    enum class Place { Offset, Head, Reply };
    Place place = Place::Offset;
    std::uint64_t offset = 0;  ///< bytes of the reply from its first on, for Place::Offset
    Ending ending = Ending::Close;
};

/// Sends a body in small pieces.
struct Drip
{
    std::size_t bytes = 1;
    std::chrono::milliseconds every{0};
};

/// What is done to the list of codes in the reply of a check. Codes are given in full or by their identifying
/// part; "*" means every code of the request.
struct Twist
{
    QStringList omit;
    QStringList repeat;      ///< answered twice
    QStringList contradict;  ///< answered twice, the second time with the opposite "isBlocked"
    QStringList add;         ///< answered though not asked for
    int groups = 1;          ///< number of "results" of a local module

    [[nodiscard]] static bool names(const QStringList& list, const QString& code);
};

/// One fault (or none): how the stand treats connections or requests while this stands in a server's list.
struct Behaviour
{
    std::string method;        ///< the only method that is treated so; empty for all
    std::optional<int> times;  ///< requests (or connections) left; without it for good

    Connect connect = Connect::Normal;
    std::optional<Certificate> certificate;

    std::chrono::milliseconds latency{0};
    std::chrono::milliseconds jitter{0};  ///< up to so much is added to the latency
    bool silent = false;                  ///< the request is read and never answered

    std::optional<int> status;
    std::optional<std::string> body;
    std::optional<std::string> raw;  ///< sent as it is in place of a reply
    std::vector<std::pair<std::string, std::optional<std::string>>>
        headers;  ///< no value: the header is left out
    std::vector<std::pair<QStringList, std::optional<QJsonValue>>> edits;  ///< path; no value: member removed
    Payload payload = Payload::Normal;
    std::uint64_t padding = 0;  ///< bytes put into the reply's JSON object as a member of their own
    Framing framing = Framing::Length;
    Encoding encoding = Encoding::Identity;
    Twist twist;
    std::optional<Cut> cut;
    std::optional<Drip> drip;

    QJsonObject source;  ///< as it was given

    /// Throws InputError; `where` names the behaviour in it.
    [[nodiscard]] static Behaviour fromJson(const QJsonValue& value, const QString& where);
    /// As it was given, "times" counted down.
    [[nodiscard]] QJsonObject toJson() const;

    [[nodiscard]] bool concernsConnections() const
    {
        return connect != Connect::Normal || certificate.has_value();
    }
    /// True when the reply does not depend on what the server would have answered.
    [[nodiscard]] bool replacesAnswer() const { return status || body || raw; }
};

/// An array of behaviours, or a single one. Throws InputError.
[[nodiscard]] std::vector<Behaviour> behavioursFromJson(const QJsonValue& value, const QString& where);

}  // namespace marksim
