// Replies to a check: from bytes to a result, and what hosts do with results. The input is two bodies, one a
// line.

#include <QJsonArray>
#include <QSet>

#include "fuzz/fuzz.h"

using fuzz::require;
using Result = CheckMarkingCodesResult;

namespace {

CheckMarkingCodesReply replyOf(const QByteArray& body)
{
    http::Response response;
    response.setStatus(200);
    response.setBody(body);
    return CheckMarkingCodesReply(response);
}

/// The codes that have a verdict.
QSet<MarkingCode> codesOf(const Result& result)
{
    const QList<MarkingCode> codes = result.passedCodes + result.failedCodes.keys();
    return {codes.cbegin(), codes.cend()};
}

/// Every entry gives one verdict, and what fails has a reason.
void checkVerdicts(const Result& result)
{
    const QJsonArray entries = result.responseObject().value(QLatin1String("codes")).toArray();
    require(result.passedCodes.size() + result.failedCodes.size() <= entries.size(),
            "an entry has one verdict");
    require(codesOf(result).isEmpty() == entries.isEmpty(), "an entry has a verdict");
    for (const auto& failed : result.failedCodes) {
        require((failed.status & ~Result::Status(Result::NotTracking)) || !failed.message.isEmpty(),
                "a code fails for a reason");
    }
    const QList<MarkingCode> reported = result.requestInfos.keys();
    require(codesOf(result) == QSet(reported.cbegin(), reported.cend()), "reported is what has a verdict");
}

void checkMerge(const Result& a, const Result& b)
{
    Result merged = a;
    merged += b;
    const qsizetype mine = a.passedCodes.size();
    require(merged.passedCodes.first(mine) == a.passedCodes, "what passed stays in front");
    const QSet<MarkingCode> passed(b.passedCodes.cbegin(), b.passedCodes.cend());
    const QSet<MarkingCode> added(merged.passedCodes.cbegin() + mine, merged.passedCodes.cend());
    require(added.size() == merged.passedCodes.size() - mine, "a code comes in once");
    require(passed.contains(added), "what comes in has passed in the other");
    for (const MarkingCode& code : passed) {
        require(!merged.failedCodes.contains(code), "a pass beats a failure");
    }
    QSet<MarkingCode> known = codesOf(merged);
    for (const MarkingCode& code : merged.passedCodes) {
        known.insert(MarkingCode(code.cis()));
    }
    for (const MarkingCode& code : codesOf(a) + codesOf(b)) {
        require(known.contains(code) || known.contains(MarkingCode(code.cis())), "no code is lost");
    }
    const QList<MarkingCode> failed = merged.failedCodes.keys();
    for (const MarkingCode& code : failed) {
        const auto status = merged.failedCodes[code].status;
        require(a.failedCodes.value(code).status == status || b.failedCodes.value(code).status == status,
                "a failure comes from one of the two");
    }
}

void checkIgnore(Result result, Result::Status flags)
{
    const qsizetype codes = result.passedCodes.size() + result.failedCodes.size();
    result.ignore(flags);
    require(result.passedCodes.size() + result.failedCodes.size() == codes, "no code is lost");
    require(!result.hasError(Result::EStatus(0)), "what fails has a reason");
    for (const auto& failed : std::as_const(result.failedCodes)) {
        require(!(failed.status & flags), "what is ignored is gone");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = fuzz::bytesOf(data, size);
    const qsizetype end = input.indexOf('\n');
    const auto reply = replyOf(end < 0 ? input : input.first(end));
    const Result a(reply);
    const Result b(replyOf(end < 0 ? QByteArray() : input.mid(end + 1)));

    require(a == Result(reply), "the same reply gives the same result");
    require((a < b) == (b > a) && (a == b) == (!(a < b) && !(b < a)), "the order agrees with equality");
    checkVerdicts(a);
    checkMerge(a, b);
    checkMerge(b, a);
    checkMerge(a, a);
    checkIgnore(a, Result::Status(QFlag(int(qHash(input) & 0x7FFF))));
    return 0;
}
