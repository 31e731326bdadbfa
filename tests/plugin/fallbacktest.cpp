#include <future>
#include <new>

#include "tests/plugin/crptservicetest.h"
#include <log4qt/logmanager.h>

using control::Action;
using control::EActionType;
using control::args::marking::Verify;
using testing::ElementsAre;

namespace {

/// Verification where a local module is configured.
class OfflineFallback : public Verification
{
protected:
    OfflineFallback()
    {
        service.lmchzClient = module;
        arguments.setService("crpt");
    }
    QStringList passed() const
    {
        QStringList texts;
        for (const MarkingCode& code : arguments.verifyResult().passedCodes) {
            texts.append(code.toString());
        }
        return texts;
    }
    const QStringList online{"A", "B"};
    const QStringList offline{"by the module"};
    const QSharedPointer<ModuleDouble> module = QSharedPointer<ModuleDouble>::create();
};

TEST_F(OfflineFallback, IsForKinds1And2AndAModuleThatIsReady)
{
    for (const int kind : {0, 1, 2, 3}) {
        for (const int status : {0, 1, 2, 3, 4}) {
            SCOPED_TRACE(QString("kind %1, status %2").arg(kind).arg(status).toStdString());
            service.client().kind = http::ErrorKind(kind);
            module->status = status;
            module->asked.clear();
            perform(action);
            const bool isAsked = kind == 1 || kind == 2;
            EXPECT_EQ(passed(), isAsked && status == 2 ? offline : online);
            QStringList lines = log.takeNamed();
            EXPECT_EQ(lines.takeLast(),
                      QStringLiteral("crptservice: info Итог проверки: прошли %1, отказано 0, вид ошибки %2, "
                                     "последний ответ: %3")
                          .arg(QString::number(passed().size()),
                               QString::number(isAsked && status == 2 ? 0 : kind),
                               isAsked && status == 2 ? "ЛМЧЗ" : "нет"));
            EXPECT_EQ(lines, !isAsked ? QStringList()
                             : status == 2 ? QStringList("crptservice: info Проверка в режиме офлайн")
                                           : QStringList("crptservice: warn ЛМЧЗ не готов к работе"));
            EXPECT_EQ(module->asked.value(0), isAsked ? "status Key" : "");
            EXPECT_EQ(module->asked.value(1),
                      isAsked && status == 2 ? "check Key 2 " + QString::number(kind) : "");
            CheckMarkingCodesResult result;
            result.setErrorKind(http::ErrorKind(kind));
            EXPECT_EQ(service.offlineCheckRequired(result, "Key"), isAsked && status == 2);
            (void)log.take();
        }
    }
}

TEST_F(OfflineFallback, IsNotForAPluginWithoutAClientOfModules)
{
    service.lmchzClient.reset();
    service.client().kind = http::ErrorKind::Unreachable;
    perform(action);
    EXPECT_EQ(passed(), online);
    EXPECT_FALSE(service.offlineCheckRequired(arguments.verifyResult(), "Key"));
    EXPECT_EQ(log.take().size(), 1) << "the end of the check only";
}

TEST_F(OfflineFallback, ReadsKeyAndCodesAgainAfterTheOnlineCheck)
{
    service.client().kind = http::ErrorKind::Unreachable;
    service.client().onCheck = [this] {
        arguments.setApiKey("Key 2");
        arguments.setMarkingCodes({MarkingCode("C")});
    };
    perform(action);
    EXPECT_THAT(module->asked, ElementsAre("status Key 2", "check Key 2 1 2"));
}

TEST_F(OfflineFallback, KeepsTheOnlineResultWhenItIsBrokenOffAndIsMadeWhenTheOnlineCheckWas)
{
    service.client().kind = http::ErrorKind::SalePermitted;
    module->onCheck = [] { throw std::bad_alloc(); };
    EXPECT_THAT(perform(action), ElementsAre(2));
    EXPECT_EQ(passed(), online);
    EXPECT_TRUE(log.take().contains("error Проверка в режиме офлайн прервана исключением"));

    service.client().onCheck = [] { throw std::bad_alloc(); };
    perform(action);
    EXPECT_EQ(log.take().value(0), "error Проверка кодов маркировок прервана исключением");
    EXPECT_EQ(arguments.verifyResult().failedCodes.keys(), arguments.markingCodes()) << "goods are refused";
    EXPECT_TRUE(arguments.verifyResult().hasError(CheckMarkingCodesResult::Unreachable));
    module->onCheck = {};
    perform(action);
    EXPECT_EQ(passed(), offline);
}

TEST_F(OfflineFallback, IsGivenUpWhenTheModuleIsBusyForTheWholeOperationTimeout)
{
    Moment checking, proceed;
    service.client().kind = http::ErrorKind::SalePermitted;
    module->onCheck = [&] {
        checking.announce();
        EXPECT_TRUE(proceed.comes());
    };
    auto first = std::async(std::launch::async, [this] { perform(action); });
    ASSERT_TRUE(checking.comes());
    const Action second(EActionType(253));
    const Verify waiting(second, "crpt");
    waiting.setMarkingCodes({MarkingCode("C")});
    perform(second);
    EXPECT_THAT(waiting.verifyResult().passedCodes, ElementsAre(MarkingCode("C")));
    EXPECT_TRUE(
        log.take().contains("warn Время ожидания обмена с ЛМЧЗ вышло, остаётся результат онлайн-проверки"));
    proceed.announce();
    first.wait();
    EXPECT_EQ(passed(), offline);
}

TEST_F(OfflineFallback, UsesTheClientOfModulesThatItHasWhileTheSettingsAreReadAgain)
{
    service.client().kind = http::ErrorKind::SalePermitted;
    settings.set("LMCHZ:enable", "true");
    // The log's locks would hide a missing one.
    Log4Qt::LogManager::configure({.level = Log4Qt::Level::Off, .file = ""});
    service.init();
    std::atomic<bool> checked = false;
    auto checks = std::async(std::launch::async, [&] {
        for (int i = 0; i < 200; ++i) {
            perform(action);
        }
        checked = true;
    });
    while (!checked) {
        service.init();
    }
    EXPECT_EQ(passed(), online) << "no module has a token";
}

}  // namespace
