#include "result/checkmarkingcodesresult.h"
#include "tests/doubles/growth.h"
#include "tests/doubles/printers.h"
#include <gmock/gmock.h>

using Result = CheckMarkingCodesResult;
using testing::IsEmpty;

namespace {

// The same good by its whole code and by its identifying part.
const QString Whole = "0104600439931256215Qbag!\x1D"
                      "93Zjqw";
const QString Cis = "0104600439931256215Qbag!";

Result resultOf(const QStringList& passed, const QStringList& failed, Result::Status status = Result::Sold)
{
    Result result;
    for (const QString& code : passed) {
        result.passedCodes.append(MarkingCode(code));
    }
    for (const QString& code : failed) {
        result.failedCodes.insert(MarkingCode(code), {status, {}, {}, 0, {}});
    }
    return result;
}

QStringList passedOf(const Result& result)
{
    QStringList codes;
    for (const MarkingCode& code : result.passedCodes) {
        codes.append(code.toString());
    }
    return codes;
}

/// "<code>=<flags>" of the failed codes.
QStringList failedOf(const Result& result)
{
    QStringList codes;
    for (auto failed = result.failedCodes.cbegin(); failed != result.failedCodes.cend(); ++failed) {
        codes.append(failed.key().toString() + '=' + QString::number(failed->status, 16));
    }
    return codes;
}

TEST(Verdict, FollowsTheFailedCodesUnlessItIsSet)
{
    Result result;
    EXPECT_TRUE(result.isSuccess());
    result = resultOf({"A"}, {"B"}, {});
    EXPECT_FALSE(result.isSuccess());
    result.success = true;
    EXPECT_TRUE(result.isSuccess());
    result.failedCodes.clear();
    result.success = false;
    EXPECT_FALSE(result.isSuccess());
}

TEST(HasError, AsksForAllBitsOfOneFailedCode)
{
    struct Case
    {
        Result::Status ofA;
        Result::Status ofB;
        int asked;
        bool has;
    };
    const Case cases[] = {
        {Result::Sold, Result::Blocked, Result::Blocked, true},
        {Result::Sold, Result::Blocked, Result::Sold | Result::Blocked, false},
        {Result::Sold | Result::Blocked, {}, Result::Sold | Result::Blocked, true},
        {Result::Sold | Result::Blocked, Result::Sold, Result::Blocked, true},
        {Result::Sold, Result::Blocked, 0, false},
        {Result::Sold, {}, 0, true},
        {{}, {}, Result::Blocked, false},
    };
    for (const Case& c : cases) {
        Result result;
        result.failedCodes = {{MarkingCode("A"), {c.ofA, {}, {}, 0, {}}},
                              {MarkingCode("B"), {c.ofB, {}, {}, 0, {}}}};
        EXPECT_EQ(result.hasError(Result::EStatus(c.asked)), c.has)
            << c.ofA << ' ' << c.ofB << ' ' << c.asked;
    }
    EXPECT_FALSE(Result().hasError(Result::EStatus(0)));
    EXPECT_FALSE(Result().hasError(Result::Sold));
}

TEST(Ignore, ForgivesReasonsAndMovesCodesThatHaveNoOther)
{
    struct Case
    {
        Result::Status had;
        Result::Status ignored;
        QStringList passed;
        QStringList failed;
    };
    const Case cases[] = {
        {Result::NotTracking | Result::GreyGtin, Result::NotTracking | Result::GreyGtin, {"Z", "A", "A"}, {}},
        {Result::GreyGtin | Result::Sold, Result::NotTracking | Result::GreyGtin, {"Z", "A"}, {"A=40"}},
        {Result::Sold, {}, {"Z", "A"}, {"A=40"}},
        {{}, {}, {"Z", "A", "A"}, {}},
        {{}, Result::Blocked, {"Z", "A", "A"}, {}},
    };
    for (const Case& c : cases) {
        Result result = resultOf({"Z", "A"}, {"A"}, c.had);
        result.failedCodes[MarkingCode("A")].message = "сообщение";
        const Result before = result;
        result.ignore(c.ignored);
        EXPECT_EQ(passedOf(result), c.passed) << c.had << " without " << c.ignored;
        EXPECT_EQ(failedOf(result), c.failed) << c.had << " without " << c.ignored;
        EXPECT_EQ(before.failedCodes.size(), 1) << "a copy is not touched";
    }
}

TEST(Merge, LetsAPassBeatAFailureAndTheFirstFailureStand)
{
    struct Case
    {
        const char* name;
        QStringList passed, failed, otherPassed, otherFailed, mergedPassed, mergedFailed;
    };
    const Case cases[] = {
        {"nothing", {}, {}, {}, {}, {}, {}},
        {"new codes, in order", {"B"}, {"D"}, {"C", "A"}, {"E"}, {"B", "C", "A"}, {"D=40", "E=400"}},
        {"pass over failure", {}, {"A"}, {"A"}, {}, {"A"}, {}},
        {"failure after pass", {"A"}, {}, {}, {"A"}, {"A"}, {}},
        {"failed in both", {}, {"A"}, {}, {"A"}, {}, {"A=40"}},
        {"passed in both", {"A"}, {}, {"A"}, {}, {"A"}, {}},
        {"passed twice here stays so", {"A", "A"}, {}, {"A"}, {}, {"A", "A"}, {}},
        {"passed twice there counts once", {}, {}, {"A", "A"}, {}, {"A"}, {}},
        {"passed and failed here", {"A"}, {"A"}, {"A"}, {}, {"A"}, {}},
        {"passed and failed there", {}, {}, {"A"}, {"A"}, {"A"}, {}},
        {"pass of the whole code over failure by cis", {}, {Cis}, {Whole}, {}, {Whole}, {}},
        {"both forms failed here", {}, {Cis, Whole}, {Whole}, {}, {Whole}, {}},
        {"whole code after a pass by cis", {Cis}, {}, {Whole}, {}, {Cis}, {}},
        {"failure of the whole code after a pass by cis", {Cis}, {}, {}, {Whole}, {Cis}, {}},
        {"failure of the whole code after a failure by cis", {}, {Cis}, {}, {Whole}, {}, {Cis + "=40"}},
        {"both forms failed there", {}, {}, {}, {Cis, Whole}, {}, {Cis + "=400"}},
        {"a cis does not stand for the whole code", {Whole}, {}, {Cis}, {}, {Whole, Cis}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Result result = resultOf(c.passed, c.failed, Result::Sold);
        const Result other = resultOf(c.otherPassed, c.otherFailed, Result::Blocked);
        result += other;
        EXPECT_EQ(passedOf(result), c.mergedPassed);
        EXPECT_EQ(failedOf(result), c.mergedFailed);
        EXPECT_EQ(passedOf(other), c.otherPassed);
    }
}

TEST(Merge, BringsSideDataOfNewCodesWithDefaultsWhereThereAreNone)
{
    const MarkingCode a("A"), b("B"), known("K");
    const QDateTime date(QDate(2027, 1, 1), QTime(0, 0), Qt::UTC);
    Result other = resultOf({"A", "K"}, {"B"});
    for (const MarkingCode& code : {a, known}) {
        other.requestInfos.insert(code, {"id", 1, "i", "v"});
        other.expireDates.insert(code, date);
        other.productWeights.insert(code, 5);
        other.mrps.insert(code, {16, 7});
    }
    Result result = resultOf({"K"}, {});
    result.productWeights = {{b, 9}, {known, 3}};
    result += other;
    EXPECT_EQ(result.requestInfos,
              (QMap<MarkingCode, Result::RequestInfo>{{a, {"id", 1, "i", "v"}}, {b, {}}}));
    EXPECT_EQ(result.expireDates, (QMap<MarkingCode, QDateTime>{{a, date}, {b, QDateTime()}}));
    EXPECT_EQ(result.productWeights, (QMap<MarkingCode, int>{{a, 5}, {b, 0}, {known, 3}}));
    EXPECT_EQ(result.mrps, (QMap<MarkingCode, Result::MrpInfo>{{a, {16, 7}}, {b, {0, 0}}}));
}

TEST(Merge, LeavesReplyAndVerdictAsTheyAre)
{
    http::Response response;
    response.setStatus(404);
    Result other{CheckMarkingCodesReply(response)};
    other.success = false;
    Result result;
    result += other;
    EXPECT_EQ(result.status(), 0);
    EXPECT_FALSE(result.success.has_value());
}

TEST(Merge, OfAResultWithItselfChangesOnlyWhatIsBoth)
{
    Result result = resultOf({"A", "B"}, {"B", "C"});
    result += result;
    EXPECT_EQ(passedOf(result), (QStringList{"A", "B"}));
    EXPECT_EQ(failedOf(result), QStringList{"C=40"});
}

TEST(Merge, GrowsLinearly)
{
    const auto work = [](int size) {
        Result result, other;
        for (int i = 0; i < size; ++i) {
            const MarkingCode code("0104600439931256215" + QString::number(1'000'000 + i));
            (i % 2 == 0 ? result : other).passedCodes.append(code);
            (i % 2 == 0 ? other : result).failedCodes.insert(code, {Result::Sold, {}, {}, 0, {}});
        }
        result += other;
        EXPECT_EQ(result.passedCodes.size(), size);
        EXPECT_THAT(result.failedCodes, IsEmpty());
    };
    EXPECT_LT(growth(work), FarFromQuadratic);
}

}  // namespace
