#pragma once

#include <compare>
#include <optional>

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
/// Nothing here fails or throws. Every operation is n log n in the number of codes, or better.
class ORVEX_EXPORT CheckMarkingCodesResult : public CheckMarkingCodesReply
{
public:
    /// Why a code failed. The numbers are fixed: hosts compare against them. A code passes when no flag but
    /// NotTracking is set and the reply has no "message" for it. Where "isCheckedOffline" is true only
    /// "isBlocked" is read of the fields below.
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

    /// So many elements of a reply's "codes" are read, far more than any check asks for. What comes behind
    /// them is left out, as if the reply did not mention it.
    static constexpr qsizetype maxCodes = 100'000;

    /// Why one code failed.
    struct CodeStatus
    {
        Status status;       ///< empty for a code that failed by its message alone
        QString message;     ///< the operator's text; empty when none
        QString ogvs;        ///< the "ogvs" text as given
        int errorCode = 0;   ///< the code's "errorCode"; the HTTP status for NotInReply and Unreachable
        QJsonObject object;  ///< the code's JSON object; the whole body for NotInReply and Unreachable

        [[nodiscard]] std::weak_ordering operator<=>(const CodeStatus& other) const;
        [[nodiscard]] bool operator==(const CodeStatus& other) const { return std::is_eq(*this <=> other); }
    };

    /// Identity of the request that checked a code; the same for all codes of one reply.
    struct RequestInfo
    {
        QString reqId;
        qint64 reqTimestamp = 0;  ///< as the reply gives it
        QString inst;
        QString version;

        // NOLINTNEXTLINE(modernize-use-nullptr): nothing here is a pointer
        friend std::weak_ordering operator<=>(const RequestInfo&, const RequestInfo&) = default;
    };

    /// Maximum retail price.
    struct MrpInfo
    {
        qint32 groupId = 0;  ///< product group; 16 when the reply named none
        qint32 mrp = 0;      ///< in the reply's units

        // NOLINTNEXTLINE(modernize-use-nullptr): nothing here is a pointer
        friend std::weak_ordering operator<=>(const MrpInfo&, const MrpInfo&) = default;
    };

    /// An empty result: no reply, no codes, no verdict of its own.
    CheckMarkingCodesResult() = default;
    /// Reads reply.responseObject(). Missing fields and fields of a wrong type read as their defaults, null
    /// as false, 0 or an empty text; a reply without codes gives a result without codes. CurrentTime is asked
    /// for the time at every expiry date that counts.
    explicit CheckMarkingCodesResult(const CheckMarkingCodesReply& reply);

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

    /// Equal are results that say the same of the same codes and stem from the same reply. The order has no
    /// meaning of its own.
    [[nodiscard]] std::weak_ordering operator<=>(const CheckMarkingCodesResult& other) const;
    [[nodiscard]] bool operator==(const CheckMarkingCodesResult& other) const
    {
        return std::is_eq(*this <=> other);
    }

    QList<MarkingCode> passedCodes;  ///< in the order found; may hold a code twice
    /// A reply that names a code twice may have it here and in passedCodes; isSuccess() is false then.
    QMap<MarkingCode, CodeStatus> failedCodes;
    QMap<MarkingCode, RequestInfo> requestInfos;  ///< for passed and failed codes
    std::optional<bool> success;                  ///< explicit verdict, for the host to set
    QMap<MarkingCode, QDateTime> expireDates;     ///< where given; invalid where the text is no date
    QMap<MarkingCode, int> productWeights;        ///< where given and positive
    QMap<MarkingCode, MrpInfo> mrps;              ///< where given and positive
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CheckMarkingCodesResult::Status)
Q_DECLARE_METATYPE(CheckMarkingCodesResult)
