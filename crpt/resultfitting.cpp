#include "crpt/resultfitting.h"

#include <optional>

#include <QSet>

namespace {

using Codes = QSet<MarkingCode>;

Codes setOf(const QList<MarkingCode>& codes)
{
    return {codes.cbegin(), codes.cend()};
}

CheckMarkingCodesResult::CodeStatus wholeReplyStatus(const CheckMarkingCodesResult& result,
                                                     CheckMarkingCodesResult::EStatus status)
{
    return {status, {}, {}, result.status(), result.responseObject()};
}

void failUnmentioned(CheckMarkingCodesResult& result, const QList<MarkingCode>& requested)
{
    const QList<MarkingCode> failed = result.failedCodes.keys();
    const Codes mentioned = setOf(result.passedCodes + failed);
    std::optional<CheckMarkingCodesResult::CodeStatus> notInReply;  // its object may take long to make
    for (const MarkingCode& code : requested) {
        if (!mentioned.contains(code)) {
            if (!notInReply) {
                notInReply = wholeReplyStatus(result, CheckMarkingCodesResult::NotInReply);
            }
            result.failedCodes.insert(result.failedCodes.cend(), code, *notInReply);
        }
    }
}

void passAll(CheckMarkingCodesResult& result, const QList<MarkingCode>& requested)
{
    result.failedCodes.clear();
    result.passedCodes = requested;
}

void failAll(CheckMarkingCodesResult& result, const QList<MarkingCode>& requested)
{
    const auto unreachable = wholeReplyStatus(result, CheckMarkingCodesResult::Unreachable);
    result.passedCodes.clear();
    result.failedCodes.clear();
    for (const MarkingCode& code : requested) {
        result.failedCodes.insert(result.failedCodes.cend(), code, unreachable);
    }
}

}  // namespace

void fitToErrorKind(CheckMarkingCodesResult& result, const QList<MarkingCode>& requested)
{
    if (result.errorKind() == http::ErrorKind::None && result.passedCodes == requested) {
        return;  // all that were requested have passed, as they mostly do
    }
    switch (result.errorKind()) {
    case http::ErrorKind::None:
        failUnmentioned(result, requested);
        break;
    case http::ErrorKind::SalePermitted:
        passAll(result, requested);
        break;
    case http::ErrorKind::Unreachable:
        failAll(result, requested);
        break;
    case http::ErrorKind::NoToken:
        break;
    }
    const Codes wanted = setOf(requested);
    result.passedCodes.removeIf([&wanted](const MarkingCode& code) { return !wanted.contains(code); });
}
