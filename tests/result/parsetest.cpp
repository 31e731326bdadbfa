#include <limits>
#include <optional>

#include <QJsonArray>

#include "result/checkmarkingcodesresult.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/simulatedclock.h"

using Result = CheckMarkingCodesResult;

namespace {

const MarkingCode a("A");

Result parse(const QByteArray& body)
{
    http::Response response;
    response.setBody(body);
    return Result{CheckMarkingCodesReply(response)};
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
    return result.failedCodes.contains(a) ? std::optional<int>(result.failedCodes[a].status) : std::nullopt;
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
        {R"("ogvs": "РПН", "errorCode": 10)", {}},
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
                                                  {R"("01.01.2099")", true},
                                                  {R"("2099-01-01")", false},
                                                  {"[]", true},
                                                  {R"("tomorrow")", true},
                                                  {R"("")", true},
                                                  {"null", true},
                                                  {"4102444800000", true}};
    for (const auto& [date, expired] : cases) {
        const Result result = parseEntry(QByteArray(R"("expireDate": )") + date);
        EXPECT_EQ(flagsOf(result), expired ? std::optional<int>(Result::Expired) : std::nullopt) << date;
        const QString text = QString(date).startsWith('"') ? QString(date).remove('"') : QString();
        EXPECT_EQ(result.expireDates.value(a, clock.currentDateTime()),
                  QDateTime::fromString(text, Qt::ISODateWithMs))
            << date;
    }
    EXPECT_EQ(parseEntry("").expireDates.size(), 0);
    const Result offline = parseEntry(R"("isCheckedOffline": true, "expireDate": "2026-01-01")");
    EXPECT_TRUE(offline.isSuccess() && offline.expireDates.value(a).isValid());
}

TEST(CodeEntry, GivesItsSideDataWhetherItPassesOrNot)
{
    const std::tuple<const char*, QMap<MarkingCode, int>, QMap<MarkingCode, Result::MrpInfo>> cases[] = {
        {R"("productWeight": 250, "mrp": 12000)", {{a, 250}}, {{a, {16, 12000}}}},
        {R"("productWeight": 1, "mrp": 1, "groupIds": [7, 3], "sold": true)", {{a, 1}}, {{a, {7, 1}}}},
        {R"("productWeight": 5, "mrp": 6, "isCheckedOffline": true, "isBlocked": true)",
         {{a, 5}},
         {{a, {16, 6}}}},
        {R"("productWeight": 5, "mrp": 6, "isCheckedOffline": true)", {{a, 5}}, {{a, {16, 6}}}},
        {R"("productWeight": 0, "mrp": 0)", {}, {}},
        {R"("productWeight": -5, "mrp": -5)", {}, {}},
        {R"("productWeight": "5", "mrp": "5")", {}, {}},
        {R"("productWeight": 1e300, "mrp": 1e300)", {}, {}},
        {R"("productWeight": 2147483648, "mrp": 2147483647)", {}, {{a, {16, 2147483647}}}},
        {R"("mrp": 9, "groupIds": [])", {}, {{a, {16, 9}}}},
        {R"("mrp": 9, "groupIds": 7)", {}, {{a, {16, 9}}}},
        {R"("mrp": 9, "groupIds": ["7"])", {}, {{a, {0, 9}}}}};
    for (const auto& [members, weights, mrps] : cases) {
        const Result result = parseEntry(members);
        EXPECT_EQ(result.productWeights, weights) << members;
        EXPECT_EQ(result.mrps, mrps) << members;
    }
}

TEST(CodeEntry, KeepsWhatTheOperatorSaysOfAFailure)
{
    const Result result = parseEntry(R"("sold": true, "message": "продан", "ogvs": "РПН", "errorCode": 10)");
    const Result::CodeStatus status = result.failedCodes.value(a);
    EXPECT_EQ(status.message, "продан");
    EXPECT_EQ(status.ogvs, "РПН");
    EXPECT_EQ(status.errorCode, 10);
    EXPECT_EQ(status.object.value("cis"), "A");
    const Result least = parseEntry(R"("message": "m", "errorCode": -2147483648)");
    EXPECT_EQ(least.failedCodes.value(a).errorCode, std::numeric_limits<int>::min());
}

TEST(CheckReply, IdentifiesTheRequestOfEveryCode)
{
    const Result result = parse(R"({"reqId": "id", "reqTimestamp": 9007199254740993, "inst": "i",
        "version": "v", "codes": [{"cis": "A"}, {"cis": "B", "sold": true}]})");
    const Result::RequestInfo info = {"id", 9007199254740993, "i", "v"};
    EXPECT_EQ(result.requestInfos,
              (QMap<MarkingCode, Result::RequestInfo>{{a, info}, {MarkingCode("B"), info}}));

    const Result wrongTypes =
        parse(R"({"reqId": 1, "reqTimestamp": "2", "inst": null, "codes": [{"cis": "A"}]})");
    EXPECT_EQ(wrongTypes.requestInfos.value(a, info), Result::RequestInfo());
}

TEST(CheckReply, IsReadAsTheJsonThatItIs)
{
    const std::pair<QByteArray, QList<MarkingCode>> cases[] = {
        {R"({"codes": [{"c\u0069s": "\u0041"}]})", {a}},
        {R"({"codes": [{"cis": "\u0041\n\ud83d\ude00"}]})", {MarkingCode("QQrwn5iA")}},
        {R"({"x": {"codes": [{"cis": "B"}]}, "codes": [{"x": {"cis": "B", "sold": true}, "cis": "A"}]})",
         {a}},
        {R"({"codes": [[{"cis": "B"}], 7, null, {"cis": 5}, {}, {"cis": "A"}]})",
         QList<MarkingCode>(5) + QList{a}},
        {R"({"codes": [{"cis": "0104600439931256215Qbag!\u001d93Zjqw"}, {"cis": ""}]})",
         {MarkingCode("0104600439931256215Qbag!\x1D" + QString("93Zjqw")), MarkingCode()}},
        {R"({"codes": [{"CIS": "B", "cis": "A", "Sold": true}], "Codes": []})", {a}},
        {R"({"codes": {"cis": "A"}})", {}},
        {R"({"codes": [{"cis": "A"}])", {}},
        {R"([{"codes": [{"cis": "A"}]}])", {}},
        {"", {}}};
    for (const auto& [body, passed] : cases) {
        const Result result = parse(body);
        EXPECT_EQ(result.passedCodes, passed) << body.constData();
        EXPECT_TRUE(result.isSuccess()) << body.constData();
    }
}

TEST(CheckReply, IsReadFromTheObjectThatTheReplyGives)
{
    struct OwnReply : CheckMarkingCodesReply
    {
        using CheckMarkingCodesReply::CheckMarkingCodesReply;
        QJsonObject responseObject() const override
        {
            return {{"codes", QJsonArray{QJsonObject{{"cis", "A"}}}}};
        }
    };
    http::Response response;
    response.setBody(R"({"codes": [{"cis": "B"}]})");
    EXPECT_EQ(Result(OwnReply(response)).passedCodes, QList{a});
    const CheckMarkingCodesReply replaced(response, OwnReply().responseObject());
    EXPECT_EQ(Result(replaced).passedCodes, QList{a});
    EXPECT_EQ(Result(replaced).responseObject(), replaced.responseObject());
}

TEST(CheckReply, IsReadUpToABoundFarAboveAnyCheck)
{
    QByteArray body = R"({"codes": [{"cis": "A"})";
    body += QByteArray(R"(, "no entry")").repeated(Result::maxCodes - 1) + R"(, {"cis": "B"}]})";
    const Result result = parse(body);
    EXPECT_EQ(result.passedCodes.size(), Result::maxCodes);
    EXPECT_EQ(result.requestInfos.keys(), (QList{MarkingCode(), a}));
}

TEST(CheckReply, OfMillionsOfSmallValuesIsNotReadAtAll)
{
    const std::pair<QByteArray, bool> cases[] = {
        {"0", false},
        {"[0]", false},
        {R"({"a":0})", false},
        {R"({"cis":"A","sold":false,"found":true,"valid":true})", false},
        {R"({"cis":"0104600439931256215Qbag!","isCheckedOffline":true,"isBlocked":false,"found":true})",
         true},
        {'"' + QByteArray(20, 'x') + '"', true}};
    for (const auto& [element, isRead] : cases) {
        for (const qsizetype size : {1 << 20, (1 << 21) + 100}) {
            const QByteArray elements = QByteArray(element + ',').repeated(size / element.size()) + element;
            const bool isSmall = elements.size() < 1 << 21;
            EXPECT_EQ(!parse(R"({"codes":[)" + elements + "]}").passedCodes.isEmpty(), isRead || isSmall)
                << element.data();
        }
    }
}

TEST(CheckReply, ListsACodeGivenTwiceByBothVerdictsWithTheLaterData)
{
    const Result result = parse(R"({"codes": [
        {"cis": "A", "productWeight": 1}, {"cis": "A", "sold": true, "productWeight": 2},
        {"cis": "A", "isBlocked": true}, {"cis": "A"}]})");
    EXPECT_EQ(result.passedCodes, (QList{a, a}));
    EXPECT_EQ(result.failedCodes.value(a).status, Result::Blocked);
    EXPECT_EQ(result.productWeights[a], 2);
}

}  // namespace
