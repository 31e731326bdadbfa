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

/// Who gives the verdicts, in the words of a page of the documentation.
struct Page
{
    const char* file;
    const char* nobody;
    const char* site;
    const char* module;

    [[nodiscard]] QByteArray giver(const Expected& expected) const
    {
        if (expected.errorKind != 0) {
            return nobody;
        }
        return QByteArray(expected.source) == "online" ? site : module;
    }
};

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
    const Page pages[] = {{SOURCE_FOLDER "/docs/scenarios.md", "nobody", "the operator", "the local module"},
                          {SOURCE_FOLDER "/docs/scenarios.ru.md", "ничьи", "оператора", "локального модуля"}};
    for (const Page& page : pages) {
        QFile file(page.file);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        for (const Expected& expected : shipped) {
            const QByteArray begin = QByteArray("\n| `") + expected.scenario + "` |";
            const QByteArray row = text.mid(text.indexOf(begin) + 1).split('\n').first();
            const QByteArray end =
                "| " + page.giver(expected) + " | " + QByteArray::number(expected.exitStatus);
            EXPECT_TRUE(text.contains(begin) && row.contains(end)) << page.file << begin.data() << row.data();
        }
    }
}

}  // namespace
