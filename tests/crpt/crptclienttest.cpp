#include "tests/crpt/crptclienttest.h"

CrptClientTest::Answer CrptClientTest::says(int status, const QJsonObject& body, milliseconds takes) const
{
    return answers(reply(status, body), takes);
}

CrptClientTest::Answer CrptClientTest::answers(const http::Response& response,
                                               std::chrono::nanoseconds takes) const
{
    return [this, response, takes](const SentRequest&) {
        clock.advance(takes);
        return response;
    };
}

CrptClientTest::Answer CrptClientTest::silent() const
{
    return [this](const SentRequest& request) {
        const std::chrono::nanoseconds deadline(request.deadline.deadlineNSecs());
        clock.advance(deadline - clock.monotonic());
        return timedOut();
    };
}

CrptClientTest::Answer CrptClientTest::lists(const QStringList& sites) const
{
    QJsonArray hosts;
    for (const QString& site : sites) {
        hosts.append(QJsonObject{{"host", "http://" + site}});
    }
    return says(200, {{"hosts", hosts}});
}

void CrptClientTest::start(bool registered)
{
    client = std::make_unique<CrptClient>();
    client->onStart();
    if (registered) {
        client->addHost(QUrl("http://op1"), "owner");
        client->addKey("key", "owner");
    }
    forget();
}

void CrptClientTest::startWithSites(const QStringList& sites)
{
    start();
    relist(sites);
    client->updateInfo();
    forget();
}

void CrptClientTest::relist(const QStringList& sites)
{
    info("op1", {lists(sites)});
    milliseconds time(10);
    for (const QString& site : sites) {
        health(site, {says(200, Ok, time)});
        time += milliseconds(10);
    }
}

http::Response CrptClientTest::request(milliseconds operationTimeout, milliseconds requestTimeout)
{
    return client->request({}, QJsonDocument(QJsonObject{{"codes", QJsonArray()}}), operationTimeout,
                           requestTimeout);
}

QStringList CrptClientTest::asked()
{
    QStringList requests;
    for (const SentRequest& request : http.take()) {
        const QString method = request.url.path();
        requests.append((method.endsWith("info")           ? "info "
                         : method.endsWith("health/check") ? "health "
                                                           : "check ") +
                        request.url.host());
    }
    return requests;
}

void CrptClientTest::forget()
{
    (void)http.take();
    (void)log.take();
    (void)notices.take();
}
