#include <QRegularExpression>

#include "tests/poshost/poshostrun.h"

namespace {

/// What `verify` of the sample basket comes to.
struct Expected
{
    const char* scenario;
    int exitStatus;
    int errorKind;
    const char* source;
    qsizetype refused;
    const char* why = nullptr;     ///< the flag of some refused code
    const char* notice = nullptr;  ///< identifier of the notice that stands at the end
};

void PrintTo(const Expected& expected, std::ostream* out)
{
    *out << expected.scenario;
}

/// In the order of their names.
const Expected shipped[] = {
    {"bad-token", 1, 2, "", 11, "Unreachable", "crptIncorrectTokenErrorNotification"},
    {"blackout", 1, 0, "offline", 1, "Blocked"},
    {"blackout-alone", 1, 2, "", 11, "Unreachable"},
    {"calm", 1, 0, "online", 3, "Sold"},
    {"cross-border", 5, 1, "", 0},
    {"dead-site", 1, 0, "online", 3, "Sold"},
    {"emergency", 1, 0, "offline", 1, "Blocked"},
    {"emergency-alone", 5, 1, "", 0},
    {"half-answer", 1, 0, "online", 4, "NotInReply"},
    {"module-only", 1, 0, "offline", 1, "Blocked"},
    {"module-setup", 1, 0, "offline", 1, "Blocked"},
    {"module-starting", 1, 2, "", 11, "Unreachable"},
    {"overload", 5, 1, "", 0},
    {"silence", 5, 1, "", 0},
    {"slow-site", 1, 0, "online", 3, "Sold"},
    {"tls", 1, 0, "online", 3, "Sold"},
};

class ShippedScenario : public testing::TestWithParam<Expected>
{
};

TEST_P(ShippedScenario, ShowsWhatItPromises)
{
    const Expected& expected = GetParam();
    const ProcessOutcome run = poshost({"--scenario", expected.scenario, "verify", "--json"});
    const QJsonObject report = onlyObject(run.output);

    EXPECT_EQ(run.exitStatus, expected.exitStatus) << run.errors.toStdString();
    EXPECT_EQ(report["source"].toString(), expected.source);
    EXPECT_EQ(report["errorKind"], expected.errorKind);
    const QJsonArray refused = report["failedCodes"].toArray();
    EXPECT_EQ(refused.size(), expected.refused);
    EXPECT_TRUE(expected.why == nullptr ||
                std::any_of(refused.begin(), refused.end(), [&](const QJsonValue& code) {
                    return code["status"].toArray().contains(QLatin1String(expected.why));
                }));
    EXPECT_EQ(report["notifications"].toArray().last()["textId"].toString(), QString(expected.notice));
    EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(All, ShippedScenario, testing::ValuesIn(shipped), [](const auto& expected) {
    return QString(expected.param.scenario).remove('-').toStdString();
});

TEST(Scenarios, EveryShippedOneIsListedWithALineAndTested)
{
    const QList<QByteArray> lines = poshost({"scenarios"}).output.trimmed().split('\n');
    ASSERT_EQ(size_t(lines.size()), std::size(shipped));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QByteArray name = shipped[i].scenario;
        EXPECT_TRUE(lines[i].startsWith(name + ' ') && lines[i].trimmed().size() > name.size())
            << lines[i].data();
    }
}

TEST(Scenarios, EveryShippedOneIsDocumentedWithWhatItComesTo)
{
    for (const char* page : {SOURCE_FOLDER "/docs/scenarios.md", SOURCE_FOLDER "/docs/scenarios.ru.md"}) {
        QFile file(page);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        for (const Expected& expected : shipped) {
            const QRegularExpression row(
                QStringLiteral("\n\\| `%1` \\|.*\\| %2\\b").arg(expected.scenario).arg(expected.exitStatus));
            EXPECT_TRUE(text.contains(row)) << page << expected.scenario;
        }
    }
}

}  // namespace
