#include <optional>

#include <QJsonArray>
#include <QJsonDocument>

#include "result/checkmarkingcodesresult.h"
#include "tests/doubles/growth.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/simulatedclock.h"
#include <gmock/gmock.h>

using Result = CheckMarkingCodesResult;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const MarkingCode A("A");

Result parse(const QByteArray& body)
{
    http::Response response;
    response.setStatus(200);
    response.setBody(body);
    return Result(CheckMarkingCodesReply(response));
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

class CodeEntry : public testing::Test
{
protected:
    SimulatedClock clock;
};

TEST_F(CodeEntry, EveryFlagFollowsItsFieldWhateverTheValueIs)
{
    struct Field
    {
        const char* name;
        int flag;
        bool flaggedWhen;
    };
    const Field fields[] = {
        {"isBlocked", Result::Blocked, true},
        {"isGreyGtin", Result::GreyGtin, true},
        {"sold", Result::Sold, true},
        {"found", Result::NotFound, false},
        {"realizable", Result::NotRealizable, false},
        {"utilised", Result::NotUtilised, false},
        {"valid", Result::NotValid, false},
        {"verified", Result::NotVerified, false},
        {"isOwner", Result::NotOwner, false},
        {"isTracking", Result::NotTracking, false},
    };
    for (const Field& field : fields) {
        const auto flagsWith = [&](const char* value) {
            SCOPED_TRACE(value);
            return flagsOf(
                parseEntry(QByteArray("\"message\": \"fails\", \"") + field.name + "\": " + value));
        };
        SCOPED_TRACE(field.name);
        EXPECT_EQ(flagsWith("true"), field.flaggedWhen ? field.flag : 0);
        EXPECT_EQ(flagsWith("false"), field.flaggedWhen ? 0 : field.flag);
        EXPECT_EQ(flagsWith("null"), field.flaggedWhen ? 0 : field.flag);
        for (const char* wrongType : {"\"yes\"", "\"true\"", "1", "0", "[]", "{}"}) {
            EXPECT_EQ(flagsWith(wrongType), 0) << wrongType;
        }
    }
}

TEST_F(CodeEntry, PassesOrFailsByAllItsFields)
{
    struct Case
    {
        const char* members;
        std::optional<int> flags;
    };
    const Case cases[] = {
        {"", {}},
        {R"("isTracking": false)", {}},
        {R"("isTracking": false, "sold": true)", Result::NotTracking | Result::Sold},
        {R"("isTracking": false, "message": "m")", Result::NotTracking},
        {R"("message": "m")", 0},
        {R"("message": null)", {}},
        {R"("message": 5, "errorCode": 7)", {}},
        {R"("grayZone": true)", {}},
        {R"("grayZone": true, "realizable": false)", Result::NotRealizable | Result::GrayZoneNotRealizable},
        {R"("grayZone": true, "realizable": null)", Result::NotRealizable | Result::GrayZoneNotRealizable},
        {R"("grayZone": null, "realizable": false)", Result::NotRealizable},
        {R"("grayZone": "yes", "realizable": false)", Result::NotRealizable},
        {R"("isCheckedOffline": true, "valid": false, "sold": true, "isGreyGtin": true, "found": false)", {}},
        {R"("isCheckedOffline": true, "expireDate": "", "productWeight": 0, "isTracking": false)", {}},
        {R"("isCheckedOffline": true, "isBlocked": true, "sold": true)", Result::Blocked},
        {R"("isCheckedOffline": true, "message": "m", "sold": true)", 0},
        {R"("isCheckedOffline": null, "sold": true)", Result::Sold},
        {R"("isCheckedOffline": "true", "sold": true)", Result::Sold},
        {R"("productWeight": 0)", Result::ZeroWeight},
        {R"("productWeight": null)", Result::ZeroWeight},
        {R"("productWeight": "250")", Result::ZeroWeight},
        {R"("productWeight": 250)", {}},
        {R"("productWeight": -1)", {}},
        {R"("found": false, "utilised": false, "verified": false, "isOwner": false)",
         Result::NotFound | Result::NotUtilised | Result::NotVerified | Result::NotOwner},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.members);
        const Result result = parseEntry(c.members);
        EXPECT_EQ(flagsOf(result), c.flags);
        EXPECT_EQ(result.isSuccess(), !c.flags);
    }
}

TEST_F(CodeEntry, ExpiresAtItsDateToTheMillisecond)
{
    // The clock stands at noon, in UTC.
    const std::pair<const char*, bool> cases[] = {
        {R"("2026-01-02T12:00:00.000Z")", true},
        {R"("2026-01-02T12:00:00.001Z")", false},
        {R"("2026-01-02T11:59:59.999Z")", true},
        {R"("2026-01-02T15:00:00.000+03:00")", true},
        {R"("2026-01-02T15:00:00.001+03:00")", false},
        {R"("2026-01-02T12:00:01Z")", false},
        {R"("2099-02-30T00:00:00.000Z")", true},
        {R"("tomorrow")", true},
        {R"("")", true},
        {"null", true},
        {"4102444800000", true},
    };
    for (const auto& [date, expired] : cases) {
        SCOPED_TRACE(date);
        const Result result = parseEntry(QByteArray(R"("expireDate": )") + date);
        EXPECT_EQ(flagsOf(result), expired ? std::optional<int>(Result::Expired) : std::nullopt);
        const QString text = QJsonDocument::fromJson(QByteArray("[") + date + "]").array().at(0).toString();
        ASSERT_TRUE(result.expireDates.contains(A));
        EXPECT_EQ(result.expireDates[A], QDateTime::fromString(text, Qt::ISODateWithMs));
    }
    EXPECT_THAT(parseEntry("").expireDates, IsEmpty());
}

TEST_F(CodeEntry, GivesItsSideDataWhetherItPassesOrNot)
{
    struct Case
    {
        const char* members;
        QMap<MarkingCode, int> weights;
        QMap<MarkingCode, Result::MrpInfo> mrps;
    };
    const Case cases[] = {
        {R"("productWeight": 250, "mrp": 12000)", {{A, 250}}, {{A, {16, 12000}}}},
        {R"("productWeight": 1, "mrp": 1, "groupIds": [7, 3], "sold": true)", {{A, 1}}, {{A, {7, 1}}}},
        {R"("productWeight": 5, "isCheckedOffline": true, "isBlocked": true)", {{A, 5}}, {}},
        {R"("productWeight": 0, "mrp": 0)", {}, {}},
        {R"("productWeight": -5, "mrp": -5)", {}, {}},
        {R"("productWeight": "5", "mrp": "5")", {}, {}},
        {R"("mrp": 9, "groupIds": [])", {}, {{A, {16, 9}}}},
        {R"("mrp": 9, "groupIds": null)", {}, {{A, {16, 9}}}},
        {R"("mrp": 9, "groupIds": 7)", {}, {{A, {16, 9}}}},
        {R"("mrp": 9, "groupIds": ["7"])", {}, {{A, {0, 9}}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.members);
        const Result result = parseEntry(c.members);
        EXPECT_EQ(result.productWeights, c.weights);
        EXPECT_EQ(result.mrps, c.mrps);
    }
}

TEST_F(CodeEntry, KeepsWhatTheOperatorSaysOfAFailure)
{
    const Result result = parseEntry(R"("sold": true, "message": "продан", "ogvs": "РПН", "errorCode": 10)");
    const Result::CodeStatus status = result.failedCodes.value(A);
    EXPECT_EQ(status.message, QString("продан"));
    EXPECT_EQ(status.ogvs, QString("РПН"));
    EXPECT_EQ(status.errorCode, 10);
    EXPECT_EQ(status.object.value("cis").toString(), QString("A"));
    EXPECT_TRUE(status.object.value("sold").toBool());
}

class CheckReply : public CodeEntry
{
};

TEST_F(CheckReply, WithoutReadableCodesGivesAnEmptySuccess)
{
    for (const char* body :
         {"", "{", "[]", "\"text\"", "{}", R"({"codes": {}})", R"({"codes": null})", R"({"codes": []})"}) {
        SCOPED_TRACE(body);
        const Result result = parse(body);
        EXPECT_THAT(result.passedCodes, IsEmpty());
        EXPECT_THAT(result.failedCodes, IsEmpty());
        EXPECT_THAT(result.requestInfos, IsEmpty());
        EXPECT_TRUE(result.isSuccess());
        EXPECT_EQ(result.body(), body);
    }
}

TEST_F(CheckReply, IdentifiesTheRequestOfEveryCode)
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

TEST_F(CheckReply, KnowsCodesHoweverTheyAreWritten)
{
    struct Case
    {
        const char* cis;
        MarkingCode code;
    };
    const Case cases[] = {
        {R"("0104600439931256215Qbag!\u001d93Zjqw")", MarkingCode("0104600439931256215Qbag!\x1D"
                                                                  "93Zjqw")},
        {R"("RU-401301-AAA7277031")", MarkingCode("RU-401301-AAA7277031")},
        {R"("00000046198488X?io+qCABm8wAYa")", MarkingCode("00000046198488X?io+qCABm8wAYa")},
        {R"("")", MarkingCode()},
        {"null", MarkingCode()},
        {"5", MarkingCode()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.cis);
        EXPECT_THAT(parse(QByteArray(R"({"codes": [{"cis": )") + c.cis + "}]}").passedCodes,
                    ElementsAre(c.code));
    }
    EXPECT_THAT(parse(R"({"codes": [5, null, "A"]})").passedCodes,
                ElementsAre(MarkingCode(), MarkingCode(), MarkingCode()));
}

TEST_F(CheckReply, ListsACodeGivenTwiceByBothVerdictsWithTheLaterData)
{
    const Result result = parse(R"({"codes": [
        {"cis": "A", "productWeight": 1}, {"cis": "A", "sold": true, "productWeight": 2},
        {"cis": "A", "isBlocked": true}, {"cis": "A"}]})");
    EXPECT_THAT(result.passedCodes, ElementsAre(A, A));
    EXPECT_EQ(result.failedCodes.size(), 1);
    EXPECT_EQ(result.failedCodes[A].status, Result::Blocked);
    EXPECT_EQ(result.productWeights[A], 2);
}

TEST_F(CheckReply, MayCarryAnObjectInPlaceOfItsBody)
{
    http::Response response;
    response.setStatus(200);
    response.setBody(R"({"codes": [{"cis": "B"}]})");
    const QJsonObject object = QJsonDocument::fromJson(R"({"codes": [{"cis": "A"}]})").object();
    const Result result{CheckMarkingCodesReply(response, object)};
    EXPECT_THAT(result.passedCodes, ElementsAre(A));
    EXPECT_EQ(result.responseObject(), object);
    EXPECT_EQ(Result(result).responseObject(), object);
    EXPECT_EQ(result.body(), response.body());
}

TEST_F(CheckReply, IsReadInLinearTime)
{
    const auto work = [](int size) {
        QByteArray codes;
        for (int i = 0; i < size; ++i) {
            codes += QByteArray(R"({"cis": "0104600439931256215)") + QByteArray::number(1'000'000 + i) +
                     R"(", "productWeight": 5, "sold": )" + (i % 2 == 0 ? "true}," : "false},");
        }
        const Result result = parse(R"({"codes": [)" + codes.chopped(1) + "]}");
        EXPECT_EQ(result.passedCodes.size() + result.failedCodes.size(), size);
    };
    EXPECT_LT(growth(work), FarFromQuadratic);
}

}  // namespace
