#include "result/replyfields.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {

using Result = CheckMarkingCodesResult;

/// The flag is set by this value; null is false, a missing field or one of another type sets none.
template <Result::EStatus Flag, bool FlaggedWhen>
void readFlag(ReplyEntry& entry, const FieldValue& value)
{
    const bool isTold = value.kind == FieldValue::Bool || value.kind == FieldValue::Null;
    entry.flags.setFlag(Flag, isTold && value.truth == FlaggedWhen);
}

template <auto Member>
void readBool(ReplyEntry& entry, const FieldValue& value)
{
    entry.*Member = value.truth;
}

template <auto Member>
void readInt(ReplyEntry& entry, const FieldValue& value)
{
    entry.*Member = value.toInt();
}

template <class Target, auto Member>
void readText(Target& target, const FieldValue& value)
{
    target.*Member = value.toString();
}

void readCode(ReplyEntry& entry, const FieldValue& value)
{
    entry.code = MarkingCode::ofText(value.toString());
}

char16_t unitOf(QChar c)
{
    return c.unicode();
}

/// Of a byte of UTF-8, where what is not ASCII is equal to no ASCII.
char16_t unitOf(char c)
{
    return uchar(c);
}

/// The number that `digits` of `text` from `start` are, -1 when one of them is no digit.
int numberAt(auto text, qsizetype start, qsizetype digits)
{
    int number = 0;
    for (qsizetype i = start; i < start + digits; ++i) {
        const char16_t c = unitOf(text[i]);
        if (c < u'0' || c > u'9') {
            return -1;
        }
        number = number * 10 + (c - u'0');
    }
    return number;
}

/// A date as the operator writes it, "2026-01-20T10:57:00.000Z"; invalid for every other form. QDateTime,
/// which takes them all, needs ten times as long.
QDateTime plainDate(auto text)
{
    constexpr QStringView form = u"0000-00-00T00:00:00.000Z";
    if (text.size() != form.size()) {
        return {};
    }
    for (const qsizetype mark : {4, 7, 10, 13, 16, 19, 23}) {
        if (unitOf(text[mark]) != form[mark]) {
            return {};
        }
    }
    const int year = numberAt(text, 0, 4);
    const QDate date(year, numberAt(text, 5, 2), numberAt(text, 8, 2));
    const QTime time(numberAt(text, 11, 2), numberAt(text, 14, 2), numberAt(text, 17, 2),
                     numberAt(text, 20, 3));
    return year > 0 && date.isValid() && time.isValid() ? QDateTime(date, time, Qt::UTC) : QDateTime();
}

void readExpireDate(ReplyEntry& entry, const FieldValue& value)
{
    const QDateTime date = value.text.visit([](auto text) { return plainDate(text); });
    entry.expireDate = date.isValid() ? date : QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
}

/// Its first element is read where the array is.
void readNothing(ReplyEntry& /*entry*/, const FieldValue& /*value*/) {}

void readTimestamp(Result::RequestInfo& request, const FieldValue& value)
{
    request.reqTimestamp = value.toInteger();
}

constexpr std::array EntryFields = {
    EntryField{"cis", &readCode},
    EntryField{"mrp", &readInt<&ReplyEntry::mrp>},
    EntryField{"ogvs", &readText<ReplyEntry, &ReplyEntry::ogvs>},
    EntryField{"sold", &readFlag<Result::Sold, true>},
    EntryField{"found", &readFlag<Result::NotFound, false>},
    EntryField{"valid", &readFlag<Result::NotValid, false>},
    EntryField{"isOwner", &readFlag<Result::NotOwner, false>},
    EntryField{"message", &readText<ReplyEntry, &ReplyEntry::message>},
    EntryField{"grayZone", &readBool<&ReplyEntry::grayZone>},
    EntryField{GroupIds, &readNothing},
    EntryField{"utilised", &readFlag<Result::NotUtilised, false>},
    EntryField{"verified", &readFlag<Result::NotVerified, false>},
    EntryField{"errorCode", &readInt<&ReplyEntry::errorCode>},
    EntryField{"isBlocked", &readFlag<Result::Blocked, true>},
    EntryField{"expireDate", &readExpireDate},
    EntryField{"isGreyGtin", &readFlag<Result::GreyGtin, true>},
    EntryField{"isTracking", &readFlag<Result::NotTracking, false>},
    EntryField{"realizable", &readFlag<Result::NotRealizable, false>},
    EntryField{"productWeight", &readInt<&ReplyEntry::productWeight>},
    EntryField{"isCheckedOffline", &readBool<&ReplyEntry::checkedOffline>},
};

constexpr std::array RequestFields = {
    RequestField{"inst", &readText<Result::RequestInfo, &Result::RequestInfo::inst>},
    RequestField{"reqId", &readText<Result::RequestInfo, &Result::RequestInfo::reqId>},
    RequestField{"version", &readText<Result::RequestInfo, &Result::RequestInfo::version>},
    RequestField{"reqTimestamp", &readTimestamp},
};

constexpr ReplyFields<ReplyEntry> EntryTable{EntryFields};
constexpr ReplyFields<Result::RequestInfo> RequestTable{RequestFields};

constexpr bool isOrdered(const auto& table, const auto& fields)
{
    return std::is_sorted(fields.begin(), fields.end(),
                          [](const auto& a, const auto& b) { return a.name.size() < b.name.size(); }) &&
           !fields.front().name.empty() && fields.back().name.size() <= table.LongestName;
}

constexpr bool isToldByEnds(const auto& fields)
{
    return std::ranges::all_of(fields, [&fields](const auto& field) {
        return std::ranges::count_if(fields, [&field](const auto& other) {
                   return other.name.size() == field.name.size() &&
                          other.name.front() == field.name.front() && other.name.back() == field.name.back();
               }) == 1;
    });
}
static_assert(isOrdered(EntryTable, EntryFields) && isOrdered(RequestTable, RequestFields));
static_assert(isToldByEnds(EntryFields) && isToldByEnds(RequestFields));

}  // namespace

int FieldValue::toInt() const
{
    const qint64 integer = toInteger();
    const bool fits =
        integer >= std::numeric_limits<int>::min() && integer <= std::numeric_limits<int>::max();
    return fits ? int(integer) : 0;
}

const ReplyFields<ReplyEntry>& entryFields()
{
    return EntryTable;
}

const ReplyFields<Result::RequestInfo>& requestFields()
{
    return RequestTable;
}
