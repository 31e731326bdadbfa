#include "benchmarks/result/replies.h"

#include <QStringList>

namespace bench {

namespace {

/// What an operator says of milk; every field that goods of that kind have.
constexpr auto entry =
    R"({"cis":"%1","valid":true,"printView":"%2","gtin":"04607026010011","groupIds":[8],"verified":true,)"
    R"("found":true,"realizable":true,"utilised":true,"isBlocked":false,"expireDate":"2099-01-20T10:57:00.000Z",)"
    R"("productionDate":"2026-01-20T10:57:00.000Z","productWeight":1250,"isOwner":true,"isTracking":true,)"
    R"("prVetDocument":"c5a1f0de-7b42-4e8a-9d3f-00000000abcd","isGreyGtin":false,"grayZone":false,"mrp":21900,)"
    R"("errorCode":0,"message":"","sold":%3})";
constexpr auto whole = R"({"code":0,"description":"ok","reqId":"c5a1f0de-7b42-4e8a-9d3f-000000001234",)"
                       R"("reqTimestamp":1795255020000,"inst":"6b1e4f0e-0000-4000-8000-000000000001",)"
                       R"("version":"1.4.2","codes":[%1]})";

QByteArray replyOf(const QList<MarkingCode>& codes, const char* sold)
{
    QStringList entries;
    for (const MarkingCode& code : codes) {
        entries.append(
            QString(entry).arg(QString(code.toString()).replace(u'\x1D', "\\u001d"), code.cis(), sold));
    }
    return QString(whole).arg(entries.join(',')).toUtf8();
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
    return replyOf(codes, "false");
}

QByteArray refusalFor(const QList<MarkingCode>& codes)
{
    return replyOf(codes, "true");
}

http::Response responseOf(const QByteArray& body)
{
    http::Response response;
    response.setStatus(200);
    response.setBody(body);
    return response;
}

CheckMarkingCodesResult resultOf(const QByteArray& body)
{
    return CheckMarkingCodesResult{CheckMarkingCodesReply(responseOf(body))};
}

}  // namespace bench
