#include <QJsonDocument>

#include "crpt/resultfitting.h"
#include "tests/crpt/crptclienttest.h"
#include "tests/doubles/growth.h"

using Result = CheckMarkingCodesResult;
using http::ErrorKind;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const MarkingCode A("A"), B("B"), C("C");

/// "A: passes", "B: Sold"... of a result's codes.
QStringList verdicts(const Result& result)
{
    QStringList lines;
    for (const MarkingCode& code : result.passedCodes) {
        lines.append(code.toString() + " passed");
    }
    for (auto failed = result.failedCodes.cbegin(); failed != result.failedCodes.cend(); ++failed) {
        lines.append(failed.key().toString() + ' ' + QString::number(failed->status, 16));
    }
    return lines;
}

Result parsed(ErrorKind kind)
{
    http::Response response = reply(418, QJsonDocument::fromJson(R"({"codes": [
        {"cis": "Z"}, {"cis": "B", "sold": true}, {"cis": "A"}, {"cis": "Y", "sold": true}]})")
                                             .object());
    response.setErrorKind(kind);
    return Result{CheckMarkingCodesReply(response)};
}

TEST(Fitting, GivesEveryRequestedCodeTheVerdictOfTheOutcome)
{
    const std::tuple<ErrorKind, QList<MarkingCode>, QStringList> cases[] = {
        {ErrorKind::None, {B, A}, {"A passed", "B 40", "Y 40"}},
        {ErrorKind::None, {C, A, C}, {"A passed", "B 40", "C 1", "Y 40"}},
        {ErrorKind::None, {}, {"B 40", "Y 40"}},
        {ErrorKind::SalePermitted, {B, A, B}, {"B passed", "A passed", "B passed"}},
        {ErrorKind::SalePermitted, {}, {}},
        {ErrorKind::Unreachable, {B, A, B}, {"A 2", "B 2"}},
        {ErrorKind::Unreachable, {}, {}},
        {ErrorKind::NoToken, {C, A}, {"A passed", "B 40", "Y 40"}}};
    for (const auto& [kind, requested, expected] : cases) {
        Result result = parsed(kind);
        fitToErrorKind(result, requested);
        EXPECT_EQ(verdicts(result), expected) << int(kind) << ' ' << requested.size();
        for (const Result::CodeStatus& failed : result.failedCodes) {
            const bool ofTheReply = failed.status & (Result::NotInReply | Result::Unreachable);
            EXPECT_EQ(failed.errorCode, ofTheReply ? 418 : 0);
            EXPECT_EQ(failed.object == result.responseObject(), ofTheReply);
        }
    }
}

TEST(Fitting, GrowsLinearly)
{
    const auto work = [](int size) {
        QList<MarkingCode> requested;
        Result result;
        for (int i = 0; i < size; ++i) {
            requested.append(MarkingCode("0104600439931256215" + QString::number(1'000'000 + i)));
            if (i % 2 == 0) {
                result.passedCodes.append(requested.last());
            }
        }
        fitToErrorKind(result, requested);
        EXPECT_EQ(result.passedCodes.size() + result.failedCodes.size(), size);
    };
    EXPECT_LT(growth(work), FarFromQuadratic);
}

class Check : public CrptClientTest
{
};

TEST_F(Check, SendsTheCodesAsTheyAreAndLogsThemReadably)
{
    startWithSites({"s1"});
    check("s1", {says(200, QJsonDocument::fromJson(R"({"code": 0, "description": "ok", "codes": [
        {"cis": "0104600439931256215Qbag!\u001d93Zjqw"}]})")
                               .object())});
    const MarkingCode milk("0104600439931256215Qbag!\x1D"
                           "93Zjqw"),
        missing("RU-%2-\"A\"");
    const Result result = client->checkMarkingCodes("Key", {milk, missing}, NoLimit, NoLimit);
    EXPECT_EQ(log.take().first(),
              "info Проверка кодов маркировок: [0104600439931256215Qbag!<GS>93Zjqw, RU-%2-\"A\"]");
    const auto sent = http.take();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].body, R"({"codes":["0104600439931256215Qbag!\u001d93Zjqw","RU-%2-\"A\""]})");
    EXPECT_EQ(sent[0].headers, (QHash<QString, QString>{{"Content-Type", "application/json"},
                                                        {"Accept", "application/json"},
                                                        {"Connection", "keep-alive"},
                                                        {"X-API-KEY", "Key"}}));
    EXPECT_THAT(result.passedCodes, ElementsAre(milk));
    EXPECT_EQ(result.failedCodes.value(missing).status, Result::NotInReply);
    EXPECT_EQ(result.failedCodes.value(missing).errorCode, 200);
    EXPECT_EQ(result.status(), 200);
}

TEST_F(Check, OfNothingSendsAnEmptyListWithAnEmptyKey)
{
    startWithSites({"s1"});
    check("s1", {says(200, QJsonDocument::fromJson(R"({"codes": [{"cis": "A"}]})").object())});
    EXPECT_THAT(client->checkMarkingCodes("", {}, NoLimit, NoLimit).passedCodes, IsEmpty());
    const auto sent = http.take();
    EXPECT_EQ(sent.at(0).body, R"({"codes":[]})");
    EXPECT_EQ(sent.at(0).headers.value("X-API-KEY", "none"), "");
}

TEST_F(Check, FitsTheResultToTheOutcomeOfTheExchange)
{
    const std::pair<Answer, QStringList> cases[] = {{says(203), {"A passed", "B passed"}},
                                                    {says(401), {"A 1", "B 1"}},
                                                    {answers(cutOff()), {"A 2", "B 2"}}};
    for (const auto& [answer, expected] : cases) {
        startWithSites({"s1"});
        info("op1", {says(500)});
        check("s1", {answer});
        EXPECT_EQ(verdicts(client->checkMarkingCodes("Key", {A, B}, NoLimit, NoLimit)), expected);
    }
}

TEST_F(Check, RaisesTimeLimitsToTwoSeconds)
{
    struct RecordingClient : CrptClient
    {
        http::Response request(const QHash<QString, QString>&, const QJsonDocument&, milliseconds operation,
                               milliseconds attempt) override
        {
            limits = {operation, attempt};
            return {};
        }
        std::pair<milliseconds, milliseconds> limits;
    } recorder;
    const std::pair<milliseconds, milliseconds> cases[] = {
        {milliseconds::min(), milliseconds(2000)}, {milliseconds(0), milliseconds(2000)},
        {milliseconds(1999), milliseconds(2000)},  {milliseconds(2000), milliseconds(2000)},
        {milliseconds(2001), milliseconds(2001)},  {NoLimit, NoLimit}};
    for (const auto& [given, used] : cases) {
        (void)recorder.checkMarkingCodes("Key", {A}, given, milliseconds(7000));
        EXPECT_EQ(recorder.limits, std::pair(used, milliseconds(7000)));
        (void)recorder.checkMarkingCodes("Key", {A}, milliseconds(7000), given);
        EXPECT_EQ(recorder.limits, std::pair(milliseconds(7000), used));
    }
}

}  // namespace
