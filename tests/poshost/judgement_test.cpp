#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

#include "poshost/reports/judgement.h"
#include "poshost/reports/statustext.h"
#include "result/statusnames.h"
#include "tests/support/printers.h"
#include <orvex/econtext.h>

using namespace poshost;

namespace {

using Result = CheckMarkingCodesResult;

/// Read from the enumeration itself, so that a flag that is added is missed.
TEST(CashierWords, EveryFlagHasAReasonOfItsOwn)
{
    QFile header(SOURCE_FOLDER "/result/checkmarkingcodesresult.h");
    ASSERT_TRUE(header.open(QIODevice::ReadOnly));
    static const QRegularExpression flag(R"(^ +(\w+) = (0x[0-9a-f]{4}),)",
                                         QRegularExpression::MultilineOption);
    QSet<QString> reasons;
    int flags = 0;
    for (auto found = flag.globalMatch(QString::fromUtf8(header.readAll())); found.hasNext(); ++flags) {
        const QRegularExpressionMatch match = found.next();
        const auto status = Result::Status::fromInt(match.captured(2).toUInt(nullptr, 16));
        EXPECT_EQ(statusNames(status), QStringList(match.captured(1)));
        EXPECT_EQ(statusFromNames({match.captured(1)}), status);
        const Result::CodeStatus failed{status, {}, {}, 0, {}};
        EXPECT_EQ(statusWords(failed, Deal::Sale).size(), 1);
        ASSERT_EQ(cashierWords(failed, Deal::Sale).size(), 1);
        reasons.insert(cashierWords(failed, Deal::Sale).first());
    }
    EXPECT_EQ(flags, 15);
    EXPECT_EQ(reasons.size(), flags);
}

TEST(Judgement, OnlyARefundForgivesThatTheGoodWasSold)
{
    const MarkingCode code(QStringLiteral("RU-401301-AAA0277031"));
    const std::tuple<Result::Status, bool, bool> cases[] = {
        {Result::Sold, false, true},
        {Result::Sold | Result::NotRealizable | Result::NotTracking, false, true},
        {Result::NotRealizable, false, false},
        {Result::Sold | Result::Blocked, false, false},
        {Result::Status(), false, false},  // failed by its message alone
    };
    for (const auto& [status, sale, refund] : cases) {
        for (const auto& [deal, accepted] : {std::pair(Deal::Sale, sale), {Deal::Refund, refund}}) {
            Verification verification;
            verification.codes = {code};
            verification.deal = deal;
            verification.triggerResult = EContext::Done;
            verification.result.failedCodes[code].status = status;
            // Another code's reasons are its own.
            verification.result.failedCodes[MarkingCode(QStringLiteral("sold"))].status = Result::Sold;
            judgeForDeal(verification);
            const Judgement judgement = judge(verification);
            EXPECT_EQ(judgement.verdict, accepted ? Verdict::Passed : Verdict::Failed) << status.toInt();
            EXPECT_EQ(judgement.reasons.isEmpty(), accepted);
            EXPECT_EQ(whyNoVerdict(http::ErrorKind::SalePermitted, 0, deal),
                      deal == Deal::Sale ? "вердикта нет, продажа разрешена"
                                         : "вердикта нет, возврат разрешён");
        }
    }
}

}  // namespace
