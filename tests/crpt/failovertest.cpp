#include "tests/crpt/crptclienttest.h"

using http::ErrorKind;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using testing::ElementsAre;

namespace {

/// Where the exact moment counts; what follows on what is compared with the model of the rules.
class Failover : public CrptClientTest
{
protected:
    /// The sites' answers to checks that follow: s1 to the last.
    void answerChecks(const Answers& bySite)
    {
        for (size_t i = 0; i < bySite.size(); ++i) {
            check('s' + QString::number(i + 1), {bySite[i]});
        }
    }
};

TEST_F(Failover, KeepsASiteOutOfServiceFor15Minutes)
{
    const std::pair<int, const char*> cases[] = {
        {899'999, "check s2"}, {900'000, "check s2"}, {900'001, "check s1"}};
    for (const auto& [passed, visited] : cases) {
        for (const Answer& failure :
             {says(500), says(429), answers(cutOff()), answers(timedOut(), seconds(1))}) {
            startWithSites({"s1", "s2"});
            check("s1", {failure, says(200, Ok)});
            check("s2", {says(200, Ok)});
            request();
            forget();
            clock.advance(milliseconds(passed));
            request();
            EXPECT_THAT(asked(), ElementsAre(visited)) << passed;
        }
    }
}

TEST_F(Failover, LimitsEveryAttemptAndAllOfThemTogether)
{
    startWithSites({"s1", "s2", "s3", "s4"});
    answerChecks({silent(), silent(), silent(), says(200, Ok)});
    const nanoseconds begin = clock.monotonic();
    const http::Response response = request(milliseconds(5000), milliseconds(2000));
    EXPECT_EQ(response.errorKind(), ErrorKind::SalePermitted);
    EXPECT_EQ(clock.monotonic() - begin, seconds(5));
    QList<qint64> deadlines;
    for (const SentRequest& sent : http.take()) {
        deadlines.append((nanoseconds(sent.deadline.deadlineNSecs()) - begin) / seconds(1));
        EXPECT_EQ(sent.alias, "серверу честного знака для проверки маркировки");
        EXPECT_EQ(sent.method, "POST");
    }
    EXPECT_THAT(deadlines, ElementsAre(2, 4, 5));
    EXPECT_EQ(log.take().last(), "warn Суммарное время ожидания ответа от сервера превысило 5000 мсек.");
}

TEST_F(Failover, HasABudgetThatIsSpentAtItsEndAndNotBefore)
{
    const std::pair<nanoseconds, ErrorKind> cases[] = {
        {seconds(5) - nanoseconds(1), ErrorKind::None},
        {seconds(5), ErrorKind::SalePermitted},
        {seconds(5) + nanoseconds(1), ErrorKind::SalePermitted}};
    for (const auto& [taken, outcome] : cases) {
        startWithSites({"s1", "s2"});
        answerChecks({answers(timedOut(), taken), says(200, Ok)});
        EXPECT_EQ(request(milliseconds(5000)).errorKind(), outcome) << taken.count();
    }
}

TEST_F(Failover, WithoutLimitsIsForEver)
{
    startWithSites({"s1", "s2"});
    const Answer endless = [this](const SentRequest& request) {
        EXPECT_TRUE(request.deadline.isForever());
        clock.advance(std::chrono::hours(24 * 365));
        return timedOut();
    };
    answerChecks({endless, says(200, Ok)});
    EXPECT_EQ(request(NoLimit, NoLimit).errorKind(), ErrorKind::None);
    EXPECT_EQ(request(NoLimit - milliseconds(1), milliseconds(2000)).errorKind(), ErrorKind::None);
    EXPECT_FALSE(http.take().back().deadline.isForever());
}

}  // namespace
