#include "contracts/initverifyservice.h"
#include "tests/doubles/printers.h"
#include <gmock/gmock.h>
#include <orvex/eactivitylistener.h>

using events::marking::InitVerifyService;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct InitEvent : testing::Test
{
    const Event event{EActivityListener::InitVerifyService};
    const InitVerifyService view{event};
};

TEST_F(InitEvent, ReadsAsDefaultsWhenEmptyOrOfOtherTypes)
{
    const auto expectDefaults = [this] {
        EXPECT_EQ(view.service(), InitVerifyService::NoService);
        EXPECT_THAT(view.hosts(), IsEmpty());
        EXPECT_THAT(view.keys(), IsEmpty());
        for (const QString& text :
             {view.section(), view.address(), view.login(), view.password(), view.owner()}) {
            EXPECT_EQ(text, QString());
        }
    };
    expectDefaults();
    for (const char* key : {"service", "section", "hosts", "keys", "address", "login", "password", "owner"}) {
        event.insert(key, QVariant::fromValue(QMap<QString, int>()));
    }
    expectDefaults();
}

TEST_F(InitEvent, IsSharedByAllViews)
{
    const InitVerifyService other(event);
    view.setService("TURON");
    view.setSection("MOTP_2");
    view.setHosts({"a.example", "https://b.example/"});
    view.setKeys({"Key1", "Key2"});
    view.setAddress("Address");
    view.setLogin("Login");
    view.setPassword("Password");
    view.setOwner("Owner");
    EXPECT_EQ(other.service(), InitVerifyService::Turon);
    EXPECT_THAT(other.hosts(), ElementsAre("a.example", "https://b.example/"));
    EXPECT_THAT(other.keys(), ElementsAre("Key1", "Key2"));
    const std::tuple<const char*, QString, const char*> texts[] = {{"section", other.section(), "motp_2"},
                                                                   {"address", other.address(), "Address"},
                                                                   {"login", other.login(), "Login"},
                                                                   {"password", other.password(), "Password"},
                                                                   {"owner", other.owner(), "Owner"}};
    for (const auto& [key, text, written] : texts) {
        EXPECT_EQ(text, written);
        EXPECT_EQ(event.value(key).toString(), written) << key;
    }
    event.insert("section", "MiXed");
    EXPECT_EQ(view.section(), "mixed");
}

TEST_F(InitEvent, TakesListsThatTheHostStoredInAnotherForm)
{
    event.insert("hosts", QVariantList{"a", "b"});
    event.insert("keys", "one");
    EXPECT_THAT(view.hosts(), ElementsAre("a", "b"));
    EXPECT_THAT(view.keys(), ElementsAre("one"));
}

}  // namespace
