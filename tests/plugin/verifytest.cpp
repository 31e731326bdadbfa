#include <new>

#include "tests/plugin/crptservicetest.h"
#include <orvex/args.h>
#include <orvex/basicplugin.h>
#include <orvex/dialog.h>

using control::Action;
using control::EActionType;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST_F(Verification, OfAnotherServiceIsNotServed)
{
    for (const char* other : {"", "turon", "esm", "unknown"}) {
        if (*other != '\0') {
            arguments.setService(other);
        }
        EXPECT_THAT(perform(action), ElementsAre(3)) << other;
        EXPECT_FALSE(action.contains("verifyResult"));
    }
    EXPECT_THAT(service.client().checks, IsEmpty());
}

TEST_F(Verification, GoesThroughWhatATestOverrides)
{
    struct Overriding : Service
    {
        EContext::Result checkMarkingCodes(const Action&) override { return EContext::Result(41); }
        EContext::Result beforeCheckConnection(const Action& connection) const override
        {
            (void)Service::beforeCheckConnection(connection);
            return EContext::Result(42);
        }
        QSharedPointer<TaskResult> pingCrptServers() const override { return {}; }
    } overriding;
    service.deinit();
    overriding.init();
    const Action connection(EActionType(223));
    control::args::Plugin(connection).setPluginName("crpt");
    EXPECT_THAT(perform(action), ElementsAre(41));
    EXPECT_THAT(perform(connection), ElementsAre(42));
    EXPECT_EQ(connection.value("pingTask").value<QSharedPointer<BasicTask>>()->run(), nullptr);
}

TEST_F(Verification, ComesInItsOrderAndPriorityAmongOthers)
{
    struct Other : BasicPlugin
    {
        bool init() override { return true; }
    } other;
    using Trigger = ActionTrigger;
    const std::pair<Trigger::Order, Trigger::Priority> neighbours[] = {{Trigger::Before, Trigger::Low},
                                                                       {Trigger::During, Trigger::High},
                                                                       {Trigger::During, Trigger::Low},
                                                                       {Trigger::After, Trigger::Highest}};
    for (const auto& [type, ofPlugin] : {std::pair(EActionType(253), 3), {EActionType(223), 2}}) {
        for (const auto& [order, priority] : neighbours) {
            other.addTrigger(Trigger(
                EContext::Any, type, order, [](const Action&) { return EContext::Result(9); },
                Trigger::Whatever, priority));
        }
        EXPECT_THAT(perform(Action(type)), ElementsAre(9, 9, ofPlugin, 9, 9));
    }
}

TEST_F(Verification, HandsTimeLimitsOnInMilliseconds)
{
    arguments.setService("crpt");
    constexpr seconds max = std::chrono::floor<seconds>(milliseconds::max());
    const std::pair<seconds, milliseconds> cases[] = {{seconds(0), seconds(0)},
                                                      {seconds(3), milliseconds(3000)},
                                                      {seconds(-1), milliseconds(-1000)},
                                                      {seconds::max(), max},
                                                      {seconds::min(), -max}};
    for (const auto& [given, handedOn] : cases) {
        arguments.setOperationTimeout(given);
        arguments.setRequestTimeout(seconds(7));
        perform(action);
        EXPECT_EQ(service.client().limits, std::pair(handedOn, milliseconds(7000)));
    }
}

TEST_F(Verification, NamesRefusedCodesAndTheirReasonsInTheLog)
{
    using Result = CheckMarkingCodesResult;
    arguments.setService("crpt");
    arguments.setMarkingCodes({MarkingCode("Z")});
    const auto refuse = [this](const QString& code, Result::Status status, const QString& message = {},
                               int errorCode = 0) {
        service.client().failed[MarkingCode(code)] = {status, message, {}, errorCode, {}};
    };
    const auto line = [](const QString& refused) {
        return "info Итог проверки: прошли 1, отказано " + refused + ", вид ошибки 0, последний ответ: нет";
    };
    refuse("A%1\x1d"
           "B",
           Result::Sold | Result::NotOwner, "not told");
    refuse("C", Result::NotFound, {}, 7);
    refuse("D", {}, "no\n»sale", -1);
    (void)log.take();
    perform(action);
    EXPECT_EQ(log.take().last(),
              line("3: A%1<GS>B (Sold, NotOwner), C (NotFound, 7), D («no\\u000a\"sale», -1)"));

    QStringList first;
    service.client().failed.clear();
    for (int i = 10; i < 32; ++i) {
        refuse(QString::number(i), Result::Expired);
        first.append(QString::number(i) + " (Expired)");
    }
    perform(action);
    EXPECT_EQ(log.take().last(), line("22: " + first.first(20).join(", ") + ", и ещё 2"));
}

TEST_F(Verification, ShowsItsProgressWhileItRuns)
{
    struct DialogDouble : Dialog
    {
        DialogDouble() { MockFactory<Dialog>::mocked = this; }
        ~DialogDouble() override { MockFactory<Dialog>::mocked = nullptr; }
        SimpleProgress showProgress(const tr::Tr& title, const tr::Tr& text) override
        {
            if (shown == "broken") {
                throw std::bad_alloc();
            }
            shown = title.id() + '|' + title.ru() + '|' + text.id() + text.ru();
            return SimpleProgress([this] { shown = "closed"; });
        }
        QString shown;
    } dialog;
    perform(action);
    EXPECT_EQ(dialog.shown, "") << "nothing to do";
    arguments.setService("crpt");
    service.client().onCheck = [&dialog] {
        EXPECT_EQ(dialog.shown, "processRequestMessage|Обращение к серверу...|");
    };
    perform(action);
    EXPECT_EQ(dialog.shown, "closed");

    EXPECT_THAT(service.client().checks, ElementsAre("Key 2"));

    dialog.shown = "broken";
    service.client().onCheck = {};
    EXPECT_THAT(perform(action), ElementsAre(2));
    EXPECT_EQ(arguments.verifyResult().passedCodes, arguments.markingCodes());
}

}  // namespace
