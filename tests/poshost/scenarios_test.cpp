#include <algorithm>
#include <iterator>

#include <QFile>
#include <QJsonArray>

#include <gtest/gtest.h>

#include "tests/poshost/poshostrun.h"
#include "tests/support/printers.h"

namespace {

/// What `verify` of the sample basket comes to.
struct Expected
{
    const char* scenario;
    int exitStatus;
    int errorKind;
    const char* source;
    qsizetype refused;
    const char* why = nullptr;     ///< a flag that some refused code has
    const char* notice = nullptr;  ///< identifier of the notice that stands at the end
};

void PrintTo(const Expected& expected, std::ostream* out)
{
    *out << expected.scenario;
}

const Expected shipped[] = {
    {"bad-token", 1, 2, "online", 11, "Unreachable", "crptIncorrectTokenErrorNotification"},
    {"blackout", 1, 0, "offline", 1, "Blocked"},
    {"blackout-alone", 1, 2, "online", 11, "Unreachable"},
    {"calm", 1, 0, "online", 3, "Sold"},
    {"cross-border", 0, 1, "online", 0},
    {"dead-site", 1, 0, "online", 3, "Sold"},
    {"emergency", 1, 0, "offline", 1, "Blocked"},
    {"emergency-alone", 0, 1, "online", 0},
    {"half-answer", 1, 0, "online", 4, "NotInReply"},
    {"module-only", 1, 0, "offline", 1, "Blocked"},
    {"module-setup", 1, 0, "offline", 1, "Blocked"},
    {"module-starting", 1, 2, "online", 11, "Unreachable"},
    {"overload", 0, 1, "online", 0},
    {"silence", 0, 1, "online", 0},
    {"slow-site", 1, 0, "online", 3, "Sold"},
    {"tls", 1, 0, "online", 3, "Sold"},
};

class ShippedScenario : public testing::TestWithParam<Expected>
{
};

bool someCodeHas(const QJsonObject& report, const QString& flag)
{
    for (const QJsonValue failed : report["failedCodes"].toArray()) {
        if (failed["status"].toArray().contains(flag)) {
            return true;
        }
    }
    return false;
}

TEST_P(ShippedScenario, ShowsWhatItPromises)
{
    const Expected& expected = GetParam();
    const ProcessOutcome run = poshost({"--scenario", expected.scenario, "verify", "--json"});
    const QJsonObject report = onlyObject(run.output);

    EXPECT_EQ(run.exitStatus, expected.exitStatus) << run.errors.toStdString();
    EXPECT_EQ(report["source"].toString(), expected.source);
    EXPECT_EQ(report["errorKind"], expected.errorKind);
    EXPECT_EQ(report["failedCodes"].toArray().size(), expected.refused);
    if (expected.why != nullptr) {
        EXPECT_TRUE(someCodeHas(report, expected.why));
    }
    const QString notice = report["notifications"].toArray().last()["textId"].toString();
    EXPECT_EQ(notice, QString(expected.notice));
    EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(All, ShippedScenario, testing::ValuesIn(shipped), [](const auto& expected) {
    return QString(expected.param.scenario).remove('-').toStdString();
});

TEST(Scenarios, EveryShippedOneIsListedWithALineAndTestedAndDocumented)
{
    QFile page(SOURCE_FOLDER "/docs/scenarios.md");
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    const QByteArray documented = page.readAll();

    const ProcessOutcome run = poshost({"scenarios"});

    EXPECT_EQ(run.exitStatus, 0);
    const QList<QByteArray> lines = run.output.trimmed().split('\n');
    EXPECT_EQ(size_t(lines.size()), std::size(shipped));
    for (const Expected& expected : shipped) {
        const QByteArray name = expected.scenario;
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const QByteArray& line) {
            return line.startsWith(name + ' ') && line.trimmed().size() > name.size();
        })) << expected.scenario;
        EXPECT_TRUE(documented.contains("| `" + name + "` |")) << expected.scenario;
    }
}

}  // namespace
