#pragma once

#include <array>
#include <iosfwd>
#include <optional>
#include <utility>
#include <vector>

#include <QStringList>

#include <network/response.h>

/// One line of a schedule: something that is done to the client, or something that the world has in store for
/// it. What the numbers mean depends on the kind; 0 is the plainest choice of each, so that shrinking leads
/// somewhere.
struct Step
{
    enum Kind {
        // Done, in order.
        AddHost,    ///< host (index of Addresses), owner
        AddKey,     ///< key, owner
        HostEvent,  ///< index of HostEvents
        Update,     ///< a list update in the client's own thread
        Check,      ///< see CheckNumber
        Pass,       ///< milliseconds, seconds by which the wall clock is set besides
        Mark,       ///< site (of all measured so far), end of its quarantine in ms from now, network error
        // In store, each kind a queue of its own; the plainest one when it has run out.
        UpdateCall,  ///< a check's call of updateInfo(): see UpdateNumber
        ListReply,   ///< see ReplyNumber
        ProbeReply,
        CheckReply,
        // Of the whole schedule; the last one counts.
        Setting,  ///< the three of "CRPT", hours that the machine is up
        KindCount
    };
    enum CheckNumber { Codes, Key, Budget, Limit, Direct };
    enum UpdateNumber { Outcome, Takes, WallStepAfter, OthersEnd };
    enum ReplyNumber {
        Content,   ///< see ContentBit
        Latency,   ///< microseconds
        ToLimit,   ///< 1: that much after the request's limit, 2: a millisecond before it
        WallStep,  ///< seconds
        Nested,    ///< another thread calls an update meanwhile
        Status,    ///< from here on: not 0 in a bad reply
        Failure,   ///< 1: time-out, 2: network error, 3: one caused on this side
        Code,
        Description,
        Form
    };

    enum ContentBit {
        Digits = 0xfff,  ///< a hexadecimal digit for each site listed or code mentioned
        MemberMissing = 0x1000,
        MemberOfWrongType = 0x2000,
        Many = 0x4000  ///< a list of more sites than are looked at
    };

    Kind kind = Pass;
    std::array<int, 10> n{};

    [[nodiscard]] bool isAction() const { return kind <= Mark; }
    [[nodiscard]] QString toText() const;
};
using Schedule = std::vector<Step>;

/// For RapidCheck, a line of its own.
void showValue(const Step& step, std::ostream& stream);

/// The operator's hosts in URL order, then the sites and those that make a list long, as the operator or the
/// till gives them; and what the URLs of their methods begin with.
extern const QStringList addresses;
extern const QStringList bases;
inline constexpr int hostCount = 4;
inline constexpr std::array hostEvents = {172, 11, 10, 96};
extern const QStringList owners;
/// The codes that are checked, as sent and as logged.
extern const QStringList codeTexts;
extern const QStringList readableCodes;

/// Indices of the codes of a check, in order.
[[nodiscard]] std::vector<int> codesOf(const Step& check);
/// A check's budget or limit as it is given, in milliseconds.
[[nodiscard]] qint64 givenLimit(const Step& check, Step::CheckNumber which);
/// The same as it is in force: a check raises both to two seconds, a direct request does not. Nothing when
/// there is none, or none that the clock can count.
[[nodiscard]] std::optional<qint64> limitInForce(const Step& check, Step::CheckNumber which);

/// What a reply says, as whoever wrote it knows.
struct Reply
{
    explicit Reply(const Step& step);

    int status;
    bool timeout;
    bool networkError;
    bool causedHere;
    bool hasCode;             ///< the body is an object with a "code" ...
    std::optional<int> code;  ///< ... that is an integer
    bool describedOk;
    std::vector<int> listed;  ///< addresses of a list's sites; elements without one are left out
    enum Verdict { Passes, PassesTwice, Sold, HasMessage };
    std::vector<std::pair<int, Verdict>> verdicts;  ///< a check's codes
};
/// The reply as the HTTP client hands it over.
[[nodiscard]] http::Response responseOf(const Step& reply);
