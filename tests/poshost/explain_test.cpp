#include <QRegularExpression>

#include "tests/poshost/poshostrun.h"

namespace {

struct Course
{
    const char* name;
    QJsonObject servers;
    QStringList before;
    QStringList steps;  ///< purpose, HTTP status, class, what was done
    const char* source = "online";
};

void PrintTo(const Course& course, std::ostream* out)
{
    *out << course.name;
}

QJsonObject behaves(const QJsonObject& behaviour)
{
    return {{"behaviours", QJsonArray{behaviour}}};
}

QStringList texts(const QJsonValue& array)
{
    return array.toVariant().toStringList();
}

const QString unwell = "check 503 server-error quarantine,switch";
const QString well = "check 200 ok ";
const QString healthy = "probe 200 healthy ";

const Course courses[] = {
    {"AllWell", {}, {}, {well}},
    {"FirstSiteFails",
     {{"site-1", behaves({{"method", "check"}, {"status", 503}})},
      {"site-2", behaves({{"method", "health"}, {"latencyMs", 150}})},
      {"site-3", behaves({{"method", "health"}, {"latencyMs", 300}})}},
     {},
     {unwell, well}},
    {"CrossBorderLinkStumbles",
     {{"sites", behaves({{"method", "check"}, {"status", 500}, {"body", QJsonObject{{"code", 5000}}}})}},
     {},
     {"check 500 cross-border-unavailable retry", "check 500 cross-border-unavailable no-verdict",
      "module-status 200 ready offline", "module-status 200 ready ", "module-check 200 answered "},
     "offline"},
    {"EverybodyFailsOnce",
     {{"sites", behaves({{"method", "check"}, {"status", 503}, {"times", 1}})}},
     {},
     {unwell, unwell, "check 503 server-error quarantine,search", "list 200 ok ", healthy, healthy,
      "probe 200 healthy list-updated", well}},
    // The probes of the update that runs since the start are not the check's: it only waits for them.
    {"ListUpdateInTheBackground",
     {{"sites", behaves({{"method", "health"}, {"latencyMs", 900}})}},
     {"search", "wait"},
     {well}},
};

class Explain : public testing::TestWithParam<Course>
{
};

TEST_P(Explain, TellsWhatTheStandHasSeen)
{
    const Course& course = GetParam();
    QJsonObject servers = course.servers;
    servers["module-1"] = QJsonObject{{"password", "the-module-password"}};
    const MarkSim stand({}, {{"servers", servers}});
    const SettingsFile settings(
        settingsFor(stand).replace("maintain = true", "maintain = false") +
        "[Log]\nlevel = off\nsecrets = true\n[Host]\napiKey = " + stand.key().toUtf8() + '\n');
    const ProcessOutcome run = poshost(
        {"--config", settings.path(), "verify", "--explain", "--json", "0104602114050016215wDq+zuM14qHO"});
    const QJsonObject story = onlyObject(run.output)["explain"].toObject();

    QStringList steps, answered, seen;  // the last two as "<method> <address> <status>"
    for (const QJsonValue step : story["steps"].toArray()) {
        const QString status = QString::number(step["httpStatus"].toInt());
        steps << QStringList{step["purpose"].toString(), status, step["class"].toString(),
                             texts(step["done"]).join(',')}
                     .join(' ');
        answered << step["method"].toString() + ' ' + step["address"].toString() + ' ' + status;
    }
    EXPECT_EQ(steps, course.steps);
    EXPECT_EQ(texts(story["before"]), course.before);
    EXPECT_EQ(story["decision"]["source"], course.source);
    constexpr qsizetype warmUp = 4;  // before the check, by the plug-in's own thread: a list and three probes
    for (const QJsonObject& request : stand.requests().sliced(warmUp)) {
        seen << request["method"].toString() + ' ' + stand.url(request["server"].toString()) +
                    request["path"].toString() + ' ' + QString::number(request["status"].toInt());
    }
    EXPECT_EQ(answered.filter(QRegularExpression(" [1-9]\\d*$")), seen);

    QJsonObject spent = story["spentMs"].toObject();
    const double total = spent.take("total").toDouble();
    double sum = 0;
    for (const QJsonValue part : spent) {
        sum += part.toDouble();
    }
    EXPECT_NEAR(sum, total, 0.05 * double(spent.size() + 1));
    for (const QString& secret : {stand.key(), QString("the-module-password")}) {
        EXPECT_FALSE((run.output + run.errors).contains(secret.toUtf8()));
    }
}

INSTANTIATE_TEST_SUITE_P(Courses, Explain, testing::ValuesIn(courses),
                         [](const auto& course) { return std::string(course.param.name); });

}  // namespace
