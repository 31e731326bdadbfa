#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

#include "crpt/requeststatus.h"
#include "poshost/judgement.h"
#include "poshost/replyclass.h"
#include "poshost/statustext.h"
#include "tests/support/printers.h"
#include <orvex/econtext.h>

using namespace poshost;

namespace {

using Result = CheckMarkingCodesResult;

TEST(ReplyClasses, AreThoseThatThePluginSortsRepliesInto)
{
    for (int status = 0; status < 1000; ++status) {
        for (const char* body : {"", R"({"code":0,"description":"ok"})", R"({"code":0,"description":"OK"})",
                                 R"({"code":5000})", R"({"description":"ok"})"}) {
            for (const bool timeout : {false, true}) {
                for (const bool networkError : {false, true}) {
                    http::Response reply;
                    reply.setStatus(status);
                    reply.setBody(body);
                    reply.setTimeout(timeout);
                    reply.setNetworkError(networkError);
                    ASSERT_EQ(int(classOf(reply)), int(requestStatusOf(reply))) << status << body;
                }
            }
        }
    }
}

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
        EXPECT_EQ(statusWords(status).size(), 1);
        ASSERT_EQ(cashierWords(status).size(), 1);
        reasons.insert(cashierWords(status).first());
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
        Verification verification;
        verification.codes = {code};
        verification.triggerResult = EContext::Done;
        verification.result.failedCodes[code].status = status;
        for (const auto& [deal, accepted] : {std::pair(Deal::Sale, sale), {Deal::Refund, refund}}) {
            const Judgement judgement = judge(verification, deal);
            EXPECT_EQ(judgement.isAccepted, accepted) << status.toInt();
            EXPECT_EQ(judgement.reasons.isEmpty(), accepted);
        }
    }
}

}  // namespace
