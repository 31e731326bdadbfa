#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include "tests/doubles/printers.h"
#include <gmock/gmock.h>
#include <orvex/eactivitylistener.h>

using control::Action;
using control::args::marking::Verify;
using events::marking::InitVerifyService;
using std::chrono::seconds;
using testing::ElementsAre;

namespace {

struct VerifyArguments : testing::Test
{
    const Action action{control::EActionType::VerifyMarking};
    const Verify view{action, ""};
};

TEST(ServiceName, IsKnownInAnyLetterCaseAndAsAWholeOnly)
{
    const std::pair<const char*, int> cases[] = {{"crpt", 1}, {"CRPT", 1},  {"Turon", 2}, {"eSm", 3},
                                                 {"", 0},     {"crpts", 0}, {" crpt", 0}, {"1", 0}};
    for (const auto& [name, service] : cases) {
        EXPECT_EQ(int(marking::serviceFromText(name)), service) << name;
    }
}

TEST_F(VerifyArguments, ReadAsDefaultsWhenMissingOrNotConvertible)
{
    const auto expectDefaults = [this] {
        EXPECT_EQ(view.service(), Verify::NoService);
        EXPECT_EQ(view.productCode(), "");
        EXPECT_EQ(view.markingCode(), MarkingCode());
        EXPECT_TRUE(view.markingCodes().isEmpty());
        EXPECT_FALSE(view.refund());
        EXPECT_TRUE(view.verifyResult().isSuccess());
        EXPECT_EQ(view.requestTimeout() + view.operationTimeout(), seconds(0));
    };
    expectDefaults();
    for (const char* key : {"service", "markingCode", "markingCodes", "refund", "verifyResult",
                            "requestTimeout", "operationTimeout", "productCode"}) {
        action.insert(key, QVariant::fromValue(QList<int>{1}));
    }
    expectDefaults();
}

TEST_F(VerifyArguments, AreConvertedFromOtherTypes)
{
    action.insert("refund", "true");
    action.insert("service", 1);
    action.insert("section", QByteArray("Motp МАРКИ"));
    EXPECT_TRUE(view.refund());
    EXPECT_EQ(view.service(), Verify::Crpt);
    EXPECT_EQ(view.section(), "motp марки");
}

TEST_F(VerifyArguments, AreStoredUnderTheirKeysAndTypes)
{
    view.setSection("MarkedGoods_1");
    view.setMarkingCodes({MarkingCode("A"), MarkingCode("B")});
    view.setRequestTimeout(seconds(3));
    view.setMarkingCode(MarkingCode("C"));
    CheckMarkingCodesResult result;
    result.success = false;
    view.setVerifyResult(result);
    EXPECT_EQ(action.value("section").toString(), "markedgoods_1");
    EXPECT_EQ(action.value("markingCodes").value<QList<MarkingCode>>().size(), 2);
    EXPECT_EQ(action.value("requestTimeout").value<seconds>(), seconds(3));
    EXPECT_EQ(action.value("markingCode").value<MarkingCode>(), MarkingCode("C"));
    EXPECT_FALSE(Verify(action, "").verifyResult().isSuccess());
}

/// Writes a text by a view, and expects it under its key and by the view.
template <class View, class Values>
void expectStored(const View& view, const Values& values, const char* key,
                  void (View::*write)(const QString&) const, QString (View::*read)() const)
{
    (view.*write)(QString("value of ") + key);
    EXPECT_EQ(values.value(key).toString(), QString("value of ") + key);
    EXPECT_EQ((view.*read)(), QString("value of ") + key);
}

TEST_F(VerifyArguments, AreTextsUnderTheirKeysUnchanged)
{
    expectStored(view, action, "productCode", &Verify::setProductCode, &Verify::productCode);
    expectStored(view, action, "packageCode", &Verify::setPackageCode, &Verify::packageCode);
    expectStored(view, action, "commitentTin", &Verify::setCommitentTin, &Verify::commitentTin);
    expectStored(view, action, "apiKey", &Verify::setApiKey, &Verify::apiKey);
    using Init = InitVerifyService;
    const Event event{EActivityListener::InitVerifyService};
    const Init init{event};
    expectStored(init, event, "address", &Init::setAddress, &Init::address);
    expectStored(init, event, "login", &Init::setLogin, &Init::login);
    expectStored(init, event, "password", &Init::setPassword, &Init::password);
    expectStored(init, event, "owner", &Init::setOwner, &Init::owner);
}

TEST_F(VerifyArguments, TakeTheServiceOfTheConstructorOnlyWhenThereIsNone)
{
    EXPECT_FALSE(action.contains("service"));
    EXPECT_EQ(Verify(action, "Crpt").service(), Verify::Crpt);
    EXPECT_EQ(Verify(action, "turon").service(), Verify::Crpt);
}

TEST(InitEvent, ReadsAsDefaultsOrConvertsWhatItCan)
{
    const Event event{EActivityListener::InitVerifyService};
    const InitVerifyService view{event};
    for (const char* key : {"service", "hosts", "address"}) {
        event.insert(key, QVariant::fromValue(QMap<QString, int>()));
    }
    EXPECT_EQ(view.service(), InitVerifyService::NoService);
    EXPECT_TRUE(view.hosts().isEmpty());
    EXPECT_EQ(view.address(), "");
    event.insert("section", "MiXed");
    event.insert("hosts", QVariantList{"a", "b"});
    event.insert("keys", "one");
    EXPECT_EQ(view.section(), "mixed");
    EXPECT_THAT(view.hosts(), ElementsAre("a", "b"));
    EXPECT_THAT(view.keys(), ElementsAre("one"));
}

}  // namespace
