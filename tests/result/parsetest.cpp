#include <limits>
#include <optional>

#include <QJsonArray>

#include "result/replycontent.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/simulatedclock.h"
#include <gtest/gtest.h>

using Result = CheckMarkingCodesResult;

namespace {

const MarkingCode A("A");

/// A reply's bytes say the same as the JSON object that they are.
Result parse(const QByteArray& body)
{
    http::Response response;
    response.setBody(body);
    const Result result{CheckMarkingCodesReply(response)};
    EXPECT_EQ(result, Result(CheckMarkingCodesReply(response, response.responseObject())))
        << body.constData();
    return result;
}

/// The result of a reply with one code "A" whose entry has these members besides.
Result parseEntry(const QByteArray& members)
{
    return parse(R"({"codes": [{"cis": "A")" + (members.isEmpty() ? "" : ", " + members) + "}]}");
}

/// The flags of the code "A"; nothing when it passed.
std::optional<int> flagsOf(const Result& result)
{
    EXPECT_EQ(result.passedCodes.size() + result.failedCodes.size(), 1);
    return result.failedCodes.contains(A) ? std::optional<int>(result.failedCodes[A].status) : std::nullopt;
}

TEST(CodeEntry, EveryFlagFollowsItsFieldWhateverTheValueIs)
{
    using Field = std::tuple<QByteArray, int, bool>;  // name, flag, the value that sets it
    for (const auto& [name, flag, flaggedWhen] :
         {Field{"isBlocked", Result::Blocked, true}, Field{"isGreyGtin", Result::GreyGtin, true},
          Field{"sold", Result::Sold, true}, Field{"found", Result::NotFound, false},
          Field{"realizable", Result::NotRealizable, false}, Field{"utilised", Result::NotUtilised, false},
          Field{"valid", Result::NotValid, false}, Field{"verified", Result::NotVerified, false},
          Field{"isOwner", Result::NotOwner, false}, Field{"isTracking", Result::NotTracking, false}}) {
        const auto flagsWith = [field = name](const QByteArray& value) {
            return flagsOf(parseEntry(R"("message": "m", ")" + field + "\": " + value));
        };
        EXPECT_EQ(flagsWith("true"), flaggedWhen ? flag : 0) << name.constData();
        EXPECT_EQ(flagsWith("false"), flaggedWhen ? 0 : flag) << name.constData();
        EXPECT_EQ(flagsWith("null"), flaggedWhen ? 0 : flag) << name.constData();
        for (const char* wrongType : {"\"yes\"", "\"true\"", "1", "0", "1e300", "[false]", "{}"}) {
            EXPECT_EQ(flagsWith(wrongType), 0) << name.constData() << wrongType;
        }
    }
}

TEST(CodeEntry, PassesOrFailsByAllItsFields)
{
    const std::pair<const char*, std::optional<int>> cases[] = {
        {"", {}},
        {R"("isTracking": false)", {}},
        {R"("isTracking": false, "sold": true)", Result::NotTracking | Result::Sold},
        {R"("isTracking": false, "message": "m")", Result::NotTracking},
        {R"("message": "m")", 0},
        {R"("message": 5, "ogvs": [], "errorCode": "7")", {}},
        {R"("grayZone": true, "realizable": false)", Result::NotRealizable | Result::GrayZoneNotRealizable},
        {R"("grayZone": null, "realizable": false)", Result::NotRealizable},
        {R"("grayZone": "yes", "realizable": false)", Result::NotRealizable},
        {R"("isCheckedOffline": true, "valid": false, "sold": true, "isGreyGtin": true, "found": false)", {}},
        {R"("isCheckedOffline": true, "expireDate": "", "productWeight": 0, "isTracking": false)", {}},
        {R"("isCheckedOffline": true, "isBlocked": true, "sold": true)", Result::Blocked},
        {R"("isCheckedOffline": true, "message": "m", "sold": true)", 0},
        {R"("isCheckedOffline": "true", "sold": true)", Result::Sold},
        {R"("productWeight": 0)", Result::ZeroWeight},
        {R"("productWeight": null)", Result::ZeroWeight},
        {R"("productWeight": "250")", Result::ZeroWeight},
        {R"("productWeight": 2147483648)", Result::ZeroWeight},
        {R"("productWeight": 0.5)", Result::ZeroWeight},
        {R"("productWeight": 250)", {}},
        {R"("found": false, "isOwner": false)", Result::NotFound | Result::NotOwner}};
    for (const auto& [members, flags] : cases) {
        const Result result = parseEntry(members);
        EXPECT_EQ(flagsOf(result), flags) << members;
        EXPECT_EQ(result.isSuccess(), !flags) << members;
    }
}

TEST(CodeEntry, ExpiresAtItsDateToTheMillisecond)
{
    const SimulatedClock clock;  // stands at noon, in UTC
    const std::pair<const char*, bool> cases[] = {{R"("2026-01-02T12:00:00.000Z")", true},
                                                  {R"("2026-01-02T12:00:00.001Z")", false},
                                                  {R"("2026-01-02T15:00:00.000+03:00")", true},
                                                  {R"("2026-01-02T15:00:00.001+03:00")", false},
                                                  {R"("2026-01-02T12:00:01Z")", false},
                                                  {R"("2099-02-30T00:00:00.000Z")", true},
                                                  {R"("2099-01-01T25:00:00.000Z")", true},
                                                  {R"("2099-01-01T00:00:00.000Zx")", true},
                                                  {R"("2099-01-0:T00:00:00.000Z")", true},
                                                  {R"("2x99-01-01T00:00:00.000Z")", true},
                                                  {R"("2099-01-01T24:00:00.000Z")", false},
                                                  {R"("2031-10-29T13:46:58.679Z")", false},
                                                  {R"("01.01.2099")", true},
                                                  {R"("2099-01-01")", false},
                                                  {R"("9999-12-31T23:59:59.999Z")", false},
                                                  {"[]", true},
                                                  {R"("tomorrow")", true},
                                                  {R"("")", true},
                                                  {"null", true},
                                                  {"4102444800000", true}};
    for (const auto& [date, expired] : cases) {
        const Result result = parseEntry(QByteArray(R"("expireDate": )") + date);
        EXPECT_EQ(flagsOf(result), expired ? std::optional<int>(Result::Expired) : std::nullopt) << date;
        const QString text = QString(date).startsWith('"') ? QString(date).remove('"') : QString();
        EXPECT_EQ(result.expireDates.value(A, clock.currentDateTime()),
                  QDateTime::fromString(text, Qt::ISODateWithMs))
            << date;
    }
    EXPECT_EQ(parseEntry("").expireDates.size(), 0);
}

TEST(CodeEntry, GivesItsSideDataWhetherItPassesOrNot)
{
    const std::tuple<const char*, QMap<MarkingCode, int>, QMap<MarkingCode, Result::MrpInfo>> cases[] = {
        {R"("productWeight": 250, "mrp": 12000)", {{A, 250}}, {{A, {16, 12000}}}},
        {R"("productWeight": 1, "mrp": 1, "groupIds": [7, 3], "sold": true)", {{A, 1}}, {{A, {7, 1}}}},
        {R"("productWeight": 5, "isCheckedOffline": true, "isBlocked": true)", {{A, 5}}, {}},
        {R"("productWeight": 0, "mrp": 0)", {}, {}},
        {R"("productWeight": -5, "mrp": -5)", {}, {}},
        {R"("productWeight": "5", "mrp": "5")", {}, {}},
        {R"("productWeight": 1e300, "mrp": 1e300)", {}, {}},
        {R"("productWeight": 2147483648, "mrp": 2147483647)", {}, {{A, {16, 2147483647}}}},
        {R"("mrp": 9, "groupIds": [])", {}, {{A, {16, 9}}}},
        {R"("mrp": 9, "groupIds": 7)", {}, {{A, {16, 9}}}},
        {R"("mrp": 9, "groupIds": ["7"])", {}, {{A, {0, 9}}}}};
    for (const auto& [members, weights, mrps] : cases) {
        const Result result = parseEntry(members);
        EXPECT_EQ(result.productWeights, weights) << members;
        EXPECT_EQ(result.mrps, mrps) << members;
    }
}

TEST(CodeEntry, KeepsWhatTheOperatorSaysOfAFailure)
{
    const Result result = parseEntry(R"("sold": true, "message": "продан", "ogvs": "РПН", "errorCode": 10)");
    const Result::CodeStatus status = result.failedCodes.value(A);
    EXPECT_EQ(status.message, "продан");
    EXPECT_EQ(status.ogvs, "РПН");
    EXPECT_EQ(status.errorCode, 10);
    EXPECT_EQ(status.object.value("cis"), "A");
    const Result least = parseEntry(R"("message": "m", "errorCode": -2147483648)");
    EXPECT_EQ(least.failedCodes.value(A).errorCode, std::numeric_limits<int>::min());
}

TEST(CheckReply, IdentifiesTheRequestOfEveryCode)
{
    const Result result = parse(R"({"reqId": "id", "reqTimestamp": 9007199254740993, "inst": "i",
        "version": "v", "codes": [{"cis": "A"}, {"cis": "B", "sold": true}]})");
    const Result::RequestInfo info = {"id", 9007199254740993, "i", "v"};
    EXPECT_EQ(result.requestInfos,
              (QMap<MarkingCode, Result::RequestInfo>{{A, info}, {MarkingCode("B"), info}}));

    const Result wrongTypes =
        parse(R"({"reqId": 1, "reqTimestamp": "2", "inst": null, "codes": [{"cis": "A"}]})");
    EXPECT_EQ(wrongTypes.requestInfos.value(A, info), Result::RequestInfo());
}

TEST(CheckReply, KnowsCodesHoweverTheyAreWritten)
{
    const QByteArray body = R"({"codes": [{"cis": "0104600439931256215Qbag!\u001d93Zjqw"},
        {"cis": "0104600439931256215W)b*j\u001d93AbCd"}, {"cis": "0104600439931256215Zq;*!\u001d93EfGh"},
        {"cis": "00000046198488X?io+qCABm8wAYa"}, {"cis": ""}, {"cis": null}, {"cis": 5}, 5, null, "A"]})";
    const QList<MarkingCode> passed = parse(body).passedCodes;
    EXPECT_EQ(passed.mid(0, 4),
              (QList<MarkingCode>{MarkingCode("0104600439931256215Qbag!\x1D" + QString("93Zjqw")),
                                  MarkingCode("0104600439931256215W)b*j\x1D" + QString("93AbCd")),
                                  MarkingCode("0104600439931256215Zq;*!\x1D" + QString("93EfGh")),
                                  MarkingCode("00000046198488X?io+qCABm8wAYa")}));
    EXPECT_EQ(passed.mid(4), QList<MarkingCode>(6));
}

TEST(CheckReply, IsReadAsTheJsonThatItIs)
{
    constexpr bool plain = true, odd = false;  // read in one pass, or left to QJsonDocument
    const QByteArray deep(1500, '[');
    const std::tuple<QByteArray, bool, QList<MarkingCode>> cases[] = {
        {R"( {"codes" : [ {"cis" : "A"} ] } )", plain, {A}},
        {R"({"codes": [{"c\u0069s": "\u0041"}]})", plain, {A}},
        {R"({"codes": [{"cis": "\u0041\n\ud83d\ude00"}], "reqId": "a\u0062\"c"})",
         plain,
         {MarkingCode("QQrwn5iA")}},
        {R"({"x": {"codes": [{"cis": "B"}]}, "codes": [{"x": {"cis": "B", "sold": true}, "cis": "A"}]})",
         plain,
         {A}},
        {R"({"codes": [[{"cis": "B"}], 7, {"cis": "A", "mrp": 1, "groupIds": [[5], 7]}]})",
         plain,
         {MarkingCode(), MarkingCode(), A}},
        {R"({"codes": [{"cis": "B", "groupIds": [1]}, {"cis": "A", "mrp": 1, "groupIds": [7, 3]}]})",
         plain,
         {MarkingCode("B"), A}},
        {R"({"x": [{"y": [[[]]]}, -9223372036854775808], "codes": {"cis": "A"}})", plain, {}},
        {R"({"codes": [{"cis": "\ud83d"}]})", odd, {MarkingCode("?")}},
        {R"({"codes": [{"cis": "B", "cis": "A", "sold": true, "sold": false}]})", odd, {A}},
        {R"({"codes": [{"cis": "A", "mrp": 1, "groupIds": [7], "groupIds": 5}]})", odd, {A}},
        {R"({"codes": [{"cis": "A"}], "reqId": "1", "reqId": "2"})", odd, {A}},
        {R"({"codes": [{"cis": "B"}], "codes": [{"cis": "A"}]})", odd, {A}},
        {R"({"codes": [{"cis": "A", "productWeight": 1e2, "mrp": 1.5}]})", odd, {A}},
        {R"({"codes": [{"cis": "A", "x": 12345678901234567890}]})", odd, {A}},
        {R"({"codes": [{"cis": "A", "productWeight": -0.0, "sold": null}], "reqTimestamp": 1e3})", odd, {}},
        {"\xEF\xBB\xBF"
         R"({"codes": [{"cis": "A"}]})",
         odd,
         {A}},
        {R"({"codes": [{"cis": "A"}], "x": )" + deep + QByteArray(1500, ']') + "}", odd, {}},
        {R"({"codes": [{"cis": "A"}], "x": 1e999})", odd, {}},
        {R"({"codes": [{"cis": "A"}]} x)", odd, {}},
        {QByteArray(R"({"codes": [{"cis": "A"}]})") + '\0', odd, {}},
        {R"({"codes": [{"cis": "A"}],})", odd, {}},
        {R"({"codes": [{"cis": "A"}])", odd, {}},
        {"{\"codes\": [{\"cis\": \"\xC3\"}]}", odd, {}},
        {R"([{"codes": [{"cis": "A"}]}])", odd, {}},
        {"7", odd, {}}};
    for (const auto& [body, isPlain, passed] : cases) {
        EXPECT_EQ(parse(body).passedCodes, passed) << body.constData();
        EXPECT_EQ(ReplyContent::fromPlainJson(body).has_value(), isPlain) << body.constData();
    }
}

TEST(CheckReply, IsReadFromItsOwnObjectWhenItHasOne)
{
    http::Response response;
    response.setBody(R"({"codes": [{"cis": "B"}]})");
    const QJsonObject object{{"codes", QJsonArray{QJsonObject{{"cis", "A"}}}}};
    EXPECT_EQ(Result(CheckMarkingCodesReply(response, object)).passedCodes, QList{A});
}

TEST(CheckReply, ListsACodeGivenTwiceByBothVerdictsWithTheLaterData)
{
    const Result result = parse(R"({"codes": [
        {"cis": "A", "productWeight": 1}, {"cis": "A", "sold": true, "productWeight": 2},
        {"cis": "A", "isBlocked": true}, {"cis": "A"}]})");
    EXPECT_EQ(result.passedCodes, (QList{A, A}));
    EXPECT_EQ(result.failedCodes.value(A).status, Result::Blocked);
    EXPECT_EQ(result.productWeights[A], 2);
}

}  // namespace
