#include "benchmarks/result/replies.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace bench {

namespace {

QJsonObject entryOf(const MarkingCode& code, bool sold)
{
    return {{"cis", code.toString()},
            {"valid", true},
            {"printView", code.cis()},
            {"gtin", code.toString().sliced(2, 14)},
            {"groupIds", QJsonArray{8}},
            {"verified", true},
            {"found", true},
            {"realizable", true},
            {"utilised", true},
            {"isBlocked", false},
            {"expireDate", "2099-01-20T10:57:00.000Z"},
            {"productionDate", "2026-01-20T10:57:00.000Z"},
            {"productWeight", 1250},
            {"prVetDocument", "c5a1f0de-7b42-4e8a-9d3f-00000000abcd"},
            {"isOwner", true},
            {"isTracking", true},
            {"isGreyGtin", false},
            {"grayZone", false},
            {"mrp", 21900},
            {"errorCode", 0},
            {"message", ""},
            {"sold", sold}};
}

QByteArray replyOf(const QList<MarkingCode>& codes, bool sold)
{
    QJsonArray entries;
    for (const MarkingCode& code : codes) {
        entries.append(entryOf(code, sold));
    }
    return QJsonDocument(QJsonObject{{"code", 0},
                                     {"description", "ok"},
                                     {"codes", entries},
                                     {"reqId", "c5a1f0de-7b42-4e8a-9d3f-000000001234"},
                                     {"reqTimestamp", 1795255020000.0},
                                     {"inst", "6b1e4f0e-0000-4000-8000-000000000001"},
                                     {"version", "1.4.2"}})
        .toJson(QJsonDocument::Compact);
}

}  // namespace

MarkingCode codeOf(int number)
{
    return MarkingCode(QStringLiteral("010460702601001121%1\u001d93%2")
                           .arg(number, 6, 36, QLatin1Char('0'))
                           .arg(number % 10'000, 4, 10, QLatin1Char('A')));
}

QList<MarkingCode> codesOf(int count, int first)
{
    QList<MarkingCode> codes;
    for (int number = first; number < first + count; ++number) {
        codes.append(codeOf(number));
    }
    return codes;
}

QByteArray replyFor(const QList<MarkingCode>& codes)
{
    return replyOf(codes, false);
}

QByteArray refusalFor(const QList<MarkingCode>& codes)
{
    return replyOf(codes, true);
}

}  // namespace bench
