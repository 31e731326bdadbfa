#include "tests/crpt/crptclienttest.h"

using http::ErrorKind;
using std::chrono::seconds;

namespace {

const char* const NoneLine = "warn Нет доступных площадок после обновления списка";

class SiteSearch : public CrptClientTest
{
};

TEST_F(SiteSearch, IsHeldBackForAWhileAfterOneThatFailed)
{
    const std::tuple<const char*, std::chrono::nanoseconds, bool> cases[] = {
        {"60", seconds(60) - std::chrono::nanoseconds(1), true},
        {"60", seconds(60), false},
        {"0", seconds(0), false},
        {"-1", seconds(0), false},
        {"sixty", seconds(0), false}};
    for (const auto& [interval, passed, heldBack] : cases) {
        settings.set("CRPT:updateInfoInterval", interval);
        start();
        info("op1", {says(401)});
        request();
        forget();
        clock.advance(passed);
        const http::Response response = request();
        EXPECT_EQ(response.errorKind(), ErrorKind::Unreachable);
        EXPECT_EQ(response.status(), heldBack ? 0 : 401);
        EXPECT_EQ(asked(), heldBack ? QStringList() : QStringList("info op1")) << interval;
        EXPECT_EQ(log.take().isEmpty(), heldBack);
    }
}

TEST_F(SiteSearch, IsGivenUpWhenTheSearchBeforeItHadNoKey)
{
    struct KeylessClient : CrptClient
    {
        UpdateInfoStatus updateInfo() override
        {
            onUpdate();
            return UpdateInfoStatus::NoKeys;
        }
        std::function<void()> onUpdate;
    };
    auto keyless = std::make_unique<KeylessClient>();
    keyless->onStart();
    keyless->addHost(QUrl("http://op1"), "owner");
    keyless->addKey("key", "owner");
    relist({"s1"});
    keyless->CrptClient::updateInfo();
    check("s1", {says(500)});
    keyless->onUpdate = [] {};
    client = std::move(keyless);
    EXPECT_EQ(request().errorKind(), ErrorKind::SalePermitted)
        << "the walk's own search: nothing to go on with";
    EXPECT_EQ(log.take().last(), NoneLine);

    static_cast<KeylessClient&>(*client).onUpdate = [this] { clock.advance(seconds(901)); };
    EXPECT_EQ(request().errorKind(), ErrorKind::NoToken) << "a site came back during the search, and failed";
    EXPECT_EQ(log.take().last(),
              "warn Токен для проверки доступных площадок не задан. Товар не будет добавлен");
}

}  // namespace
