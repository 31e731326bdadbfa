#pragma once

#include "stand/http/service.h"

#include <QJsonObject>
#include <QJsonValue>
#include <optional>
#include <span>
#include <string>

namespace marksim {

/// How a server treats connections or requests while this stands in its list: an object of the form
/// "behaviour" of docs/stand-scenario.schema.json, validated.
using Behaviour = QJsonObject;

/// A reply while faults are put into it.
struct Reply
{
    Answer answer;
    Filler filler;  ///< in the answer's body; its place counts from the body's begin: whoever puts something
                    ///< in front of it moves it
    QString framing;                 ///< how the body is delimited; empty: as usual
    std::optional<std::string> raw;  ///< all bytes of the reply, in place of everything above
    Exchange exchange;               ///< how the reply is sent

    [[nodiscard]] std::uint64_t bodySize() const { return answer.body.size() + filler.size; }
    [[nodiscard]] std::string head() const { return raw ? *raw : answer.head(); }
};

/// One key of a behaviour and what its value does to a reply. The schema describes the value and holds it
/// against the description.
struct Fault
{
    QLatin1String key;
    void (*apply)(Reply& reply, const QJsonValue& value);
};

/// Those that make a reply of their own: the server is not asked, and nothing changes in it.
[[nodiscard]] std::span<const Fault> replacements();
/// Those that change the body of a reply.
[[nodiscard]] std::span<const Fault> bodyFaults();
/// Those that change what is known only when the body is framed: headers, pace and end of the reply.
[[nodiscard]] std::span<const Fault> deliveryFaults();

/// Adds what delimits the body; tells whether the connection must end with it.
bool frame(Reply& reply);

/// True when the reply does not depend on what the server would have answered.
[[nodiscard]] bool replacesAnswer(const Behaviour& behaviour);

/// What a request asks of its reply, whatever the reply is.
struct ReplyForm
{
    bool keepAlive = true;
    bool headOnly = false;

    [[nodiscard]] static ReplyForm of(const Request& request);
};

/// Puts `answer` on the wire, with the faults of `behaviour` in it.
[[nodiscard]] Exchange planExchange(Answer answer, const Behaviour& behaviour, ReplyForm form);

}  // namespace marksim
