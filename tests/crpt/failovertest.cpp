#include "tests/crpt/crptclienttest.h"

using http::ErrorKind;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using testing::ElementsAre;

namespace {

QStringList linesOfLeaving(const QString& site)
{
    return {"info Площадка http://" + site + " помечена как недоступная на 15 минут",
            "info Переключение на следующую CDN-площадку"};
}

const QJsonObject Foreign = {{"code", 5000}};
const char* const RetryLine = "info Сервис трансграничной проверки кодов недоступен, повторный запрос";
const char* const NoRetryLine =
    "warn Сервис трансграничной проверки кодов недоступен, добавление товара разрешено";

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

TEST_F(Failover, TakesOrLeavesEveryKindOfReplyAtEveryPlace)
{
    struct Kind
    {
        const char* name;
        Answers replies;
        ErrorKind outcome;
        QStringList lines;
        qsizetype requests = 1;
        bool leaves = false;
    };
    const Kind kinds[] = {
        {"ok", {says(200, Ok)}, ErrorKind::None, {}},
        {"failed", {says(200, {{"code", 7}})}, ErrorKind::None, {}},
        {"no JSON", {says(200)}, ErrorKind::None, {}},
        {"emergency",
         {says(203)},
         ErrorKind::SalePermitted,
         {"warn В ГИС МТ введена аварийная ситуация, запрет на продажу отключен"}},
        {"refused key", {says(401)}, ErrorKind::None, {"error Ошибка авторизации"}},
        {"protocol error", {says(400)}, ErrorKind::None, {"error Ошибка протокола"}},
        {"foreign systems down", {says(500, Foreign)}, ErrorKind::SalePermitted, {RetryLine, NoRetryLine}, 2},
        {"foreign systems down once", {says(503, Foreign), says(200, Ok)}, ErrorKind::None, {RetryLine}, 2},
        {"server error", {says(500)}, ErrorKind::None, {}, 1, true},
        {"overloaded", {says(429)}, ErrorKind::None, {}, 1, true},
        {"not found", {says(404)}, ErrorKind::None, {}, 1, true},
        {"forbidden", {says(403)}, ErrorKind::None, {}, 1, true},
        {"refused connection", {answers(cutOff())}, ErrorKind::None, {}, 1, true},
        {"time-out", {answers(timedOut())}, ErrorKind::None, {}, 1, true}};
    for (const Kind& kind : kinds) {
        for (qsizetype place = 0; place < 3; ++place) {
            SCOPED_TRACE(kind.name);
            SCOPED_TRACE(place);
            startWithSites({"s1", "s2", "s3"});
            info("op1", {answers(cutOff())});
            QStringList lines, visited;
            for (qsizetype i = 0; i <= place; ++i) {
                const QString site = 's' + QString::number(i + 1);
                check(site, i == place ? kind.replies : Answers{says(500)});
                lines += i == place ? kind.lines : linesOfLeaving(site);
                visited += QStringList(i == place ? kind.requests : 1, "check " + site);
                lines += i == place && kind.leaves ? linesOfLeaving(site) : QStringList();
            }
            ErrorKind outcome = kind.outcome;
            if (kind.leaves && place < 2) {
                const QString next = 's' + QString::number(place + 2);
                check(next, {says(200, Ok)});
                visited += "check " + next;
            } else if (kind.leaves) {
                lines += {"warn Нет доступных площадок, пытаемся обновить список площадок",
                          "info Получение списка CDN-площадок", "warn Не удалось обновить список площадок",
                          "warn Нет доступных площадок после обновления списка"};
                visited += "info op1";
                outcome = ErrorKind::Unreachable;
            }
            EXPECT_EQ(request().errorKind(), outcome);
            EXPECT_EQ(asked(), visited);
            EXPECT_EQ(log.take(), lines);
            EXPECT_EQ(notices.take().join("").contains("ошибка токена"), kind.name == QString("refused key"));
        }
    }
}

TEST_F(Failover, ReturnsTheReplyThatItTakesWithItsAddress)
{
    startWithSites({"s1", "s2"});
    answerChecks({says(500, {{"code", 1}}), says(400, {{"code", 2}})});
    const http::Response response = request();
    EXPECT_EQ(response.status(), 400);
    EXPECT_EQ(response.responseObject(), QJsonObject({{"code", 2}}));
    EXPECT_EQ(response.url(), QUrl("http://s2" + Base + "/codes/check"));
}

TEST_F(Failover, RetriesForForeignSystemsOnceInAllSitesTogether)
{
    startWithSites({"s1", "s2"});
    check("s1", {says(500, Foreign), says(500)});
    check("s2", {says(500, Foreign)});
    EXPECT_EQ(request().errorKind(), ErrorKind::SalePermitted);
    EXPECT_THAT(asked(), ElementsAre("check s1", "check s1", "check s2"));

    check("s2", {says(500, Foreign), says(200, Ok)});
    EXPECT_EQ(request().errorKind(), ErrorKind::None) << "the next call may retry again";
    EXPECT_THAT(asked(), ElementsAre("check s2", "check s2"));
}

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

TEST_F(Failover, EndsPastTheLastSiteWhenOnlyAnEarlierOneIsBack)
{
    startWithSites({"s1", "s2"});
    answerChecks({says(500), says(200, Ok)});
    request();
    clock.advance(milliseconds(899'000));
    answerChecks({says(200, Ok), says(503, {}, seconds(2))});
    forget();
    const http::Response response = request();
    EXPECT_THAT(asked(), ElementsAre("check s2"));
    EXPECT_EQ(response.status(), 503);
    EXPECT_EQ(response.errorKind(), ErrorKind::None);
}

class TimeBudget : public Failover
{
};

TEST_F(TimeBudget, LimitsEveryAttemptAndAllOfThemTogether)
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

TEST_F(TimeBudget, IsSpentAtItsEndAndNotBefore)
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

TEST_F(TimeBudget, DoesNotCutAStringOfServerErrors)
{
    startWithSites({"s1", "s2"});
    answerChecks({says(500, {}, seconds(10)), says(200, Ok, seconds(10))});
    EXPECT_EQ(request(milliseconds(5000)).errorKind(), ErrorKind::None);
    EXPECT_THAT(asked(), ElementsAre("check s1", "check s2"));
}

TEST_F(TimeBudget, WithoutLimitsIsForEver)
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
