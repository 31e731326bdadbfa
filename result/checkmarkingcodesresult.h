#pragma once

#include <optional>
#include <tuple>

#include <QDateTime>
#include <QFlags>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>

#include "result/checkmarkingcodesreply.h"
#include <utils/export.h>
#include <utils/markingcode.h>

/// What a check of marking codes came to: which codes passed, which failed and why, and what else the reply
/// said of them. Starts as a full copy of the reply it is built from, so everything that can be asked of the
/// reply can be asked of the result.
///
/// A value: copies are cheap. Threads: one at a time for one value; copies may be used in different threads.
/// Nothing here fails or throws. Every operation is linear in the number of codes, or n log n.
class ORVEX_EXPORT CheckMarkingCodesResult : public CheckMarkingCodesReply
{
public:
    /// Why a code failed. The numbers are fixed: hosts compare against them.
    enum EStatus : quint32 {
        NotInReply = 0x0001,             ///< the reply was taken as it is, but does not mention the code
        Unreachable = 0x0002,            ///< no site could be reached because of network faults
        NotValid = 0x0004,               ///< "valid" is false
        NotVerified = 0x0008,            ///< "verified" is false
        Expired = 0x0010,                ///< "expireDate" is present and not later than now, or no date
        GrayZoneNotRealizable = 0x0020,  ///< "grayZone" is true and "realizable" is false
        Sold = 0x0040,                   ///< "sold" is true
        NotUtilised = 0x0080,            ///< "utilised" is false
        NotRealizable = 0x0100,          ///< "realizable" is false
        NotFound = 0x0200,               ///< "found" is false
        Blocked = 0x0400,                ///< "isBlocked" is true
        NotOwner = 0x0800,               ///< "isOwner" is false
        GreyGtin = 0x1000,               ///< "isGreyGtin" is true
        ZeroWeight = 0x2000,             ///< "productWeight" is present and 0
        NotTracking = 0x4000,            ///< "isTracking" is false; alone it does not make a code fail
    };
    Q_DECLARE_FLAGS(Status, EStatus)

    /// Why one code failed.
    struct CodeStatus
    {
        Status status;       ///< empty for a code that failed by its message alone
        QString message;     ///< the operator's text; empty when none
        QString ogvs;        ///< the "ogvs" text as given
        int errorCode = 0;   ///< the code's "errorCode"; the HTTP status for NotInReply and Unreachable
        QJsonObject object;  ///< the code's JSON object; the whole body for NotInReply and Unreachable

        friend bool operator==(const CodeStatus&, const CodeStatus&) = default;
    };

    /// Identity of the request that checked a code; the same for all codes of one reply.
    struct RequestInfo
    {
        QString reqId;
        qint64 reqTimestamp = 0;  ///< as the reply gives it
        QString inst;
        QString version;
        friend bool operator==(const RequestInfo&, const RequestInfo&) = default;
    };

    /// Maximum retail price.
    struct MrpInfo
    {
        qint32 groupId = 0;  ///< product group; 16 when the reply named none
        qint32 mrp = 0;      ///< in the reply's units
        friend bool operator==(const MrpInfo&, const MrpInfo&) = default;
    };

    /// An empty result: no reply, no codes, no verdict of its own.
    CheckMarkingCodesResult();
    /// Reads `reply`'s JSON object. Missing fields and fields of a wrong type read as their defaults; a reply
    /// without codes gives a result without codes. The time that expiry dates are held against is that of
    /// CurrentTime.
    explicit CheckMarkingCodesResult(const CheckMarkingCodesReply& reply);
    CheckMarkingCodesResult(const CheckMarkingCodesResult&);
    CheckMarkingCodesResult(CheckMarkingCodesResult&&) noexcept;
    CheckMarkingCodesResult& operator=(const CheckMarkingCodesResult&);
    CheckMarkingCodesResult& operator=(CheckMarkingCodesResult&&) noexcept;
    ~CheckMarkingCodesResult() override;

    /// Merges `other`: a pass in either beats a failure, and of two failures this result's stands. Codes
    /// match as they are and by their cis(). Side data of the codes that come in are copied, with defaults
    /// where `other` has none. The reply and `success` of this result stay.
    CheckMarkingCodesResult& operator+=(const CheckMarkingCodesResult& other);

    /// Forgives these reasons: a failed code that has no other moves to the end of passedCodes, even one that
    /// had none at all and failed by its message alone.
    void ignore(QFlags<EStatus> flags);

    /// Whether any failed code has all bits of `status`; for 0, whether any has no bits at all.
    [[nodiscard]] bool hasError(EStatus status) const;

    /// `success` when it is set, otherwise whether no code failed. True for a result without codes.
    [[nodiscard]] bool isSuccess() const;

    /// Whether both say the same of the same codes and stem from the same reply.
    friend bool operator==(const CheckMarkingCodesResult& a, const CheckMarkingCodesResult& b)
    {
        const auto reply = [](const CheckMarkingCodesResult& of) {
            return std::tuple(of.status(), of.url(), of.body(), of.errorKind());
        };
        const auto content = [](const CheckMarkingCodesResult& of) {
            return std::tie(of.passedCodes, of.failedCodes, of.requestInfos, of.success, of.expireDates,
                            of.productWeights, of.mrps);
        };
        return reply(a) == reply(b) && content(a) == content(b);
    }

    QList<MarkingCode> passedCodes;  ///< in the order found; may hold a code twice
    QMap<MarkingCode, CodeStatus> failedCodes;
    QMap<MarkingCode, RequestInfo> requestInfos;  ///< for passed and failed codes
    std::optional<bool> success;                  ///< explicit verdict, for the host to set
    QMap<MarkingCode, QDateTime> expireDates;     ///< where given; invalid where the text is no date
    QMap<MarkingCode, int> productWeights;        ///< where given and positive
    QMap<MarkingCode, MrpInfo> mrps;              ///< where given and positive

private:
    void copySideData(QList<MarkingCode>& codes, const CheckMarkingCodesResult& other);
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CheckMarkingCodesResult::Status)
Q_DECLARE_METATYPE(CheckMarkingCodesResult)
