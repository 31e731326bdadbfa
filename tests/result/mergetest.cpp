#include <functional>

#include "result/checkmarkingcodesresult.h"
#include "tests/doubles/printers.h"

using Result = CheckMarkingCodesResult;

namespace {

// The same good by its whole code and by its identifying part.
const QString whole = "0104600439931256215Qbag!\x1D"
                      "93Zjqw";
const QString cis = "0104600439931256215Qbag!";

Result resultOf(const QStringList& passed, const QStringList& failed, Result::Status status = Result::Sold)
{
    Result result;
    result.passedCodes = QList<MarkingCode>(passed.begin(), passed.end());
    for (const QString& code : failed) {
        result.failedCodes.insert(MarkingCode(code), {status, {}, {}, 0, {}});
    }
    return result;
}

const QDateTime date(QDate(2027, 1, 1), QTime(0, 0), Qt::UTC);

void addSideData(Result& result, const MarkingCode& code)
{
    result.requestInfos.insert(code, {"id", 1, "i", "v"});
    result.expireDates.insert(code, date);
    result.productWeights.insert(code, 5);
    result.mrps.insert(code, {16, 7});
}

auto sideDataOf(const Result& result)
{
    return std::tuple(result.requestInfos, result.expireDates, result.productWeights, result.mrps);
}

/// The passed codes and "<code>=<flags>" of the failed ones.
QString shown(const Result& result)
{
    QStringList codes;
    for (const MarkingCode& code : result.passedCodes) {
        codes.append(code.toString());
    }
    for (const MarkingCode& code : result.failedCodes.keys()) {
        codes.append(code.toString() + '=' + QString::number(result.failedCodes[code].status, 16));
    }
    return codes.join(' ');
}

TEST(Verdict, FollowsTheFailedCodesUnlessItIsSet)
{
    EXPECT_TRUE(Result().isSuccess());
    Result result = resultOf({"A"}, {"B"}, {});
    EXPECT_FALSE(result.isSuccess());
    result.success = true;
    EXPECT_TRUE(result.isSuccess());
}

TEST(HasError, AsksForAllBitsOfOneFailedCode)
{
    const std::tuple<Result::Status, Result::Status, int, bool> cases[] = {
        {Result::Sold, Result::Blocked, Result::Blocked, true},
        {Result::Sold, Result::Blocked, Result::Sold | Result::Blocked, false},
        {Result::Sold | Result::Blocked, {}, Result::Sold | Result::Blocked, true},
        {Result::Sold | Result::Blocked, Result::Sold, Result::Blocked, true},
        {Result::Sold, Result::Blocked, 0, false},
        {Result::Sold, {}, 0, true},
        {{}, {}, Result::Blocked, false}};
    for (const auto& [ofA, ofB, asked, has] : cases) {
        Result result = resultOf({}, {"A"}, ofA);
        result += resultOf({}, {"B"}, ofB);
        EXPECT_EQ(result.hasError(Result::EStatus(asked)), has) << ofA << ' ' << ofB << ' ' << asked;
    }
    EXPECT_FALSE(Result().hasError(Result::EStatus(0)));
}

TEST(Ignore, ForgivesReasonsAndMovesCodesThatHaveNoOther)
{
    const std::tuple<Result::Status, Result::Status, const char*> cases[] = {
        {Result::NotTracking | Result::GreyGtin, Result::NotTracking | Result::GreyGtin, "Z A A"},
        {Result::GreyGtin | Result::Sold, Result::NotTracking | Result::GreyGtin, "Z A A=40"},
        {Result::Sold, {}, "Z A A=40"},
        {{}, {}, "Z A A"},
        {{}, Result::Blocked, "Z A A"}};
    for (const auto& [had, ignored, left] : cases) {
        Result result = resultOf({"Z", "A"}, {"A"}, had);
        result.failedCodes[MarkingCode("A")].message = "m";
        addSideData(result, MarkingCode("A"));
        const Result before = result;
        result.ignore(ignored);
        EXPECT_EQ(shown(result), left) << had << " without " << ignored;
        EXPECT_EQ(sideDataOf(result), sideDataOf(before));
    }
}

TEST(Merge, LetsAPassBeatAFailureAndTheFirstFailureStand)
{
    // What it is, what passed and failed here, what passed and failed there, what comes of it.
    using Case = std::tuple<const char*, QStringList, QStringList, QStringList, QStringList, QString>;
    const Case cases[] = {
        {"new codes, in order", {"B"}, {"D"}, {"C", "A"}, {"E"}, "B C A D=40 E=400"},
        {"pass over failure", {}, {"A"}, {"A"}, {}, "A"},
        {"failure after pass", {"A"}, {}, {}, {"A"}, "A"},
        {"failed in both", {}, {"A"}, {}, {"A"}, "A=40"},
        {"passed in both", {"A"}, {}, {"A"}, {}, "A"},
        {"passed twice here stays so", {"A", "A"}, {}, {"A"}, {}, "A A"},
        {"passed twice there counts once", {}, {}, {"A", "A"}, {}, "A"},
        {"passed and failed here", {"A"}, {"A"}, {"A"}, {}, "A"},
        {"passed and failed there", {}, {}, {"A"}, {"A"}, "A"},
        {"pass of the whole code over failure by cis", {}, {cis}, {whole}, {}, whole},
        {"both forms failed here", {}, {cis, whole}, {whole}, {}, whole},
        {"whole code after a pass by cis", {cis}, {}, {whole}, {}, cis},
        {"failure of the whole code after a pass by cis", {cis}, {}, {}, {whole}, cis},
        {"failure of the whole code after a failure by cis", {}, {cis}, {}, {whole}, cis + "=40"},
        {"both forms failed there", {}, {}, {}, {cis, whole}, cis + "=400"},
        {"a cis does not stand for the whole code", {whole}, {}, {cis}, {}, whole + ' ' + cis}};
    for (const auto& [name, passed, failed, otherPassed, otherFailed, merged] : cases) {
        Result result = resultOf(passed, failed, Result::Sold);
        result += resultOf(otherPassed, otherFailed, Result::Blocked);
        EXPECT_EQ(shown(result), merged) << name;
    }
    Result same = resultOf({"A", "B"}, {"B", "C"});
    same += same;
    EXPECT_EQ(shown(same), "A B C=40");
}

TEST(Merge, BringsSideDataOfNewCodesOrDefaults)
{
    const MarkingCode a("A"), b("B"), known("K"), z("Z");
    Result other = resultOf({"Z", "A", "K"}, {"B"});
    for (const MarkingCode& code : {a, known, z}) {
        addSideData(other, code);
    }
    Result result = resultOf({"K"}, {});
    result.productWeights = {{b, 9}, {known, 3}};
    result += other;
    EXPECT_EQ(result.requestInfos, (QMap<MarkingCode, Result::RequestInfo>{
                                       {a, {"id", 1, "i", "v"}}, {b, {}}, {z, {"id", 1, "i", "v"}}}));
    EXPECT_EQ(result.expireDates, (QMap<MarkingCode, QDateTime>{{a, date}, {b, QDateTime()}, {z, date}}));
    EXPECT_EQ(result.productWeights, (QMap<MarkingCode, int>{{a, 5}, {b, 0}, {known, 3}, {z, 5}}));
    EXPECT_EQ(result.mrps, (QMap<MarkingCode, Result::MrpInfo>{{a, {16, 7}}, {b, {0, 0}}, {z, {16, 7}}}));
}

TEST(Merge, LeavesTheReplyAndTheVerdictOfEither)
{
    Result result = resultOf({"A"}, {}), other = resultOf({"A"}, {});
    result.setUrl(QUrl("http://a"));
    result.setBody(R"({"reqId": "1"})");
    other.setUrl(QUrl("http://b"));
    other.setErrorKind(http::ErrorKind::SalePermitted);
    result.success = false;
    other.success = true;
    const Result before = result;
    result += other;
    EXPECT_EQ(result, before);
}

TEST(Comparison, SeesEveryDifferenceAndOrdersByIt)
{
    const MarkingCode code("A");
    const std::function<void(Result&)> changes[] = {
        [](Result& r) { r.setStatus(200); },
        [](Result& r) { r.setUrl(QUrl("http://s")); },
        [](Result& r) { r.setBody("{}"); },
        [](Result& r) { r.setErrorKind(http::ErrorKind::Unreachable); },
        [](Result& r) { r.setErrorText(tr::Tr("id", "text")); },
        [](Result& r) { r.setTimeout(true); },
        [](Result& r) { r.setNetworkError(true); },
        [](Result& r) { r.setNetworkError(http::NetworkError::Timeout); },
        [](Result& r) {
            r = Result(CheckMarkingCodesReply(r, {{"x", 1}}));
        },
        [](Result& r) { r.success = true; },
        [&](Result& r) { r.passedCodes.append(code); },
        [&](Result& r) { r.failedCodes[code].status = Result::Sold; },
        [&](Result& r) { r.failedCodes[code].message = "m"; },
        [&](Result& r) { r.failedCodes[code].ogvs = "o"; },
        [&](Result& r) { r.failedCodes[code].errorCode = 1; },
        [&](Result& r) {
            r.failedCodes[code].object = {{"cis", "A"}};
        },
        [&](Result& r) { r.requestInfos[code].inst = "i"; },
        [&](Result& r) { r.expireDates[code] = date; },
        [&](Result& r) { r.productWeights[code] = 1; },
        [&](Result& r) { r.mrps[code].mrp = 1; }};
    Result before;
    for (const auto& change : changes) {
        Result after = before;
        EXPECT_TRUE(after == before && !(after < before) && !(before < after));
        change(after);
        EXPECT_TRUE(after != before && (before < after) != (after < before)) << &change - changes;
        before = after;
    }
}

TEST(Merge, OfManyCodesTakesLinearTime)
{
    constexpr int codes = 50'000;  // minutes when it grows with the square
    Result result, other;
    for (int i = 0; i < codes; ++i) {
        const MarkingCode code("0104600439931256215" + QString::number(1'000'000 + i));
        (i % 2 == 0 ? result : other).passedCodes.append(code);
        (i % 2 == 0 ? other : result).failedCodes.insert(code, {Result::Sold, {}, {}, 0, {}});
    }
    result += other;
    EXPECT_EQ(result.passedCodes.size() - result.failedCodes.size(), codes);
}

}  // namespace
