#pragma once

#include <gtest/gtest.h>

#include "tests/support/marksim.h"
#include "tests/support/printers.h"

const QString milk = QStringLiteral("0104607026010011215rhTuv\u001d93VBOs");

/// An HTTP client that knows a stand's servers and its key.
class StandClient : public HttpClient
{
public:
    explicit StandClient(const MarkSim& stand)
        : m_stand(stand)
    {
    }

    [[nodiscard]] QString keyHeader() const { return "X-API-KEY: " + m_stand.key(); }

    HttpReply check(const QStringList& codes, const QString& site = "site-1") const
    {
        const QJsonObject body{{"codes", QJsonArray::fromStringList(codes)}};
        return send("POST", m_stand.url(site) + "/api/v4/true-api/codes/check", toJson(body), {keyHeader()});
    }
    /// What a site says of one code.
    QJsonValue entry(const QString& code) const { return check({code}).json()["codes"][0]; }

    HttpReply health(const QString& server = "site-1", const QStringList& headers = {}) const
    {
        return send("GET", m_stand.url(server) + "/api/v4/true-api/cdn/health/check", {},
                    headers + QStringList{keyHeader()});
    }

private:
    const MarkSim& m_stand;
};

/// A test with a stand of its own, as it is without arguments.
class StandTest : public testing::Test
{
protected:
    MarkSim stand;
    StandClient client{stand};
};
