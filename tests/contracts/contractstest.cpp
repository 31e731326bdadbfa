#include <array>

#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include "tests/doubles/printers.h"
#include <orvex/eactivitylistener.h>

using control::Action;
using control::args::marking::Verify;
using events::marking::InitVerifyService;
using std::chrono::seconds;

namespace {

struct Views : testing::Test
{
    const Action action{control::EActionType::VerifyMarking};
    const Verify verify{action, ""};
    const Event event{EActivityListener::InitVerifyService};
    const InitVerifyService init{event};
};

using VerifyArguments = Views;
using InitEvent = Views;

template <class View>
constexpr std::array<int, 4> numbers{View::NoService, View::Crpt, View::Turon, View::Esm};

TEST_F(Views, KnowServicesInAnyLetterCaseAndAsAWholeOnly)
{
    const std::pair<const char*, int> cases[] = {{"crpt", 1}, {"CRPT", 1},  {"Turon", 2}, {"eSm", 3},
                                                 {"", 0},     {"crpts", 0}, {" crpt", 0}, {"1", 0}};
    for (const auto& [name, service] : cases) {
        verify.setService(name);
        init.setService(name);
        EXPECT_EQ(verify.service(), service) << name;
        EXPECT_EQ(init.service(), service) << name;
        EXPECT_EQ(action.value("service"), QVariant::fromValue(Verify::Service(service))) << name;
        EXPECT_EQ(event.value("service"), QVariant::fromValue(InitVerifyService::Service(service))) << name;
    }
    EXPECT_EQ(numbers<Verify>, (std::array{0, 1, 2, 3}));
    EXPECT_EQ(numbers<InitVerifyService>, numbers<Verify>);
    EXPECT_STREQ(action.value("service").typeName(), "control::args::marking::Verify::Service");
    EXPECT_STREQ(event.value("service").typeName(), "events::marking::InitVerifyService::Service");
}

TEST_F(Views, WriteAndReadSectionsInLowerCase)
{
    verify.setSection("MarkedGoods_1");
    init.setSection("Motp МАРКИ");
    EXPECT_EQ(action.value("section"), QVariant("markedgoods_1"));
    EXPECT_EQ(event.value("section"), QVariant("motp марки"));
    action.insert("section", QByteArray("DraftBeer"));
    event.insert("section", "MOOT");
    EXPECT_EQ(verify.section(), "draftbeer");
    EXPECT_EQ(init.section(), "moot");
}

/// Expects `write` to store `value` under its key, and `read` to give what stands there.
template <class View, class Values, class Value, class Written>
void expectField(const View& view, const Values& values, const char* key, void (View::*write)(Written) const,
                 Value (View::*read)() const, const Value& value)
{
    EXPECT_EQ((view.*read)(), Value()) << key << " is missing";
    values.insert(key, QVariant::fromValue(QMap<QString, int>()));
    EXPECT_EQ((view.*read)(), Value()) << key << " cannot be converted";
    (view.*write)(value);
    EXPECT_EQ(values.value(key), QVariant::fromValue(value)) << key;
    EXPECT_EQ((view.*read)(), value) << key;
}

TEST_F(VerifyArguments, StandUnderTheirKeysInTheirTypes)
{
    CheckMarkingCodesResult result;
    result.success = false;
    using V = Verify;
    const MarkingCode code("A");
    const auto text = [this](const char* key, auto write, auto read) {
        expectField(verify, action, key, write, read, QString("value of ") + key);
    };
    text("productCode", &V::setProductCode, &V::productCode);
    text("packageCode", &V::setPackageCode, &V::packageCode);
    text("commitentTin", &V::setCommitentTin, &V::commitentTin);
    text("apiKey", &V::setApiKey, &V::apiKey);
    expectField(verify, action, "markingCode", &V::setMarkingCode, &V::markingCode, code);
    expectField(verify, action, "markingCodes", &V::setMarkingCodes, &V::markingCodes, {code, code});
    expectField(verify, action, "refund", &V::setRefund, &V::refund, true);
    expectField(verify, action, "verifyResult", &V::setVerifyResult, &V::verifyResult, result);
    expectField(verify, action, "requestTimeout", &V::setRequestTimeout, &V::requestTimeout, seconds(3));
    expectField(verify, action, "operationTimeout", &V::setOperationTimeout, &V::operationTimeout,
                seconds(4));
}

TEST_F(InitEvent, HasItsFieldsUnderTheirKeysInTheirTypes)
{
    using Init = InitVerifyService;
    const auto text = [this](const char* key, auto write, auto read) {
        expectField(init, event, key, write, read, QString("value of ") + key);
    };
    text("address", &Init::setAddress, &Init::address);
    text("login", &Init::setLogin, &Init::login);
    text("password", &Init::setPassword, &Init::password);
    text("owner", &Init::setOwner, &Init::owner);
    expectField(init, event, "hosts", &Init::setHosts, &Init::hosts, {"a", "b"});
    expectField(init, event, "keys", &Init::setKeys, &Init::keys, {"k"});
}

TEST_F(Views, ConvertWhatCanBeConverted)
{
    action.insert("refund", "true");
    action.insert("service", 1);
    event.insert("service", 2);
    event.insert("hosts", QVariantList{"a", "b"});
    event.insert("keys", "one");
    EXPECT_TRUE(verify.refund());
    EXPECT_EQ(verify.service(), Verify::Crpt);
    EXPECT_EQ(init.service(), InitVerifyService::Turon);
    EXPECT_EQ(init.hosts(), (QList<QString>{"a", "b"}));
    EXPECT_EQ(init.keys(), QList<QString>{"one"});
}

TEST_F(VerifyArguments, TakeTheServiceOfTheConstructorOnlyWhenThereIsNone)
{
    EXPECT_FALSE(action.contains("service"));
    EXPECT_EQ(Verify(action, "Crpt").service(), Verify::Crpt);
    EXPECT_EQ(Verify(action, "turon").service(), Verify::Crpt);
}

}  // namespace
