#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include "poshost/doctor/asking.h"
#include "poshost/settings/knownkeys.h"
#include "tests/support/printers.h"
#include <config/config.h>

using namespace poshost;

TEST(KnownKeys, AreToldApartByTheLettersThatDiffer)
{
    EXPECT_EQ(editDistance("Timeout", "timout"), 1);
    EXPECT_EQ(editDistance("", "abc"), 3);
    EXPECT_EQ(editDistance("kitten", "sitting"), 3);
}

TEST(KnownKeys, AreAllDescribed)
{
    for (const QJsonValue key : QJsonDocument::fromJson(keysAsJson().toUtf8())["keys"].toArray()) {
        const std::string name =
            key["section"].toString().toStdString() + key["key"].toString().toStdString();
        EXPECT_FALSE(key["meaning"].toString().isEmpty() || key["meaningEn"].toString().isEmpty()) << name;
        const bool anyIsGood = key["type"].toString().startsWith("text");
        EXPECT_EQ(anyIsGood, key["instead"].isNull()) << name << " does not say what a wrong value comes to";
    }
}

TEST(DoctorAdvice, IsToInstallCertificatesWhereNoLineNamesAFileOfThem)
{
    http::ExchangeRecord exchange;
    exchange.response.setNetworkError(true);
    exchange.response.setNetworkError(http::NetworkError::SslHandshakeFailed);
    exchange.transport.detail = "error setting certificate file: /etc/ssl/certs/ca-certificates.crt";
    EXPECT_TRUE(troubleOf(exchange).advice.contains("ca-certificates"));
    Singleton<Config>::instance()->setValue("Network:caFile", "/shop.pem");
    EXPECT_TRUE(troubleOf(exchange).advice.contains("[Network] caFile"));
    Singleton<Config>::instance()->clear();
}
