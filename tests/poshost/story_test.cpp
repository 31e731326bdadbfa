#include <algorithm>

#include <QRegularExpression>
#include <QXmlStreamReader>

#include "tests/poshost/storytest.h"

namespace {

/// What a check's story and its explanation have in common: all but the times.
QJsonObject factsOf(QJsonObject story)
{
    QJsonArray steps;
    for (const QJsonValue step : story["steps"].toArray()) {
        QJsonObject timeless = step.toObject();
        timeless.remove("ms");
        timeless.remove("atMs");
        steps.append(timeless);
    }
    return {{"before", story["before"]}, {"steps", steps}, {"decision", story["decision"]}};
}

TEST_F(Story, TellsOfEachCheckWhatItsExplanationTold)
{
    const std::pair<const char*, const char*> scenarios[] = {
        {"calm", "passed"},       {"dead-site", "passed"},       {"blackout", "passed"},
        {"silence", "permitted"}, {"blackout-alone", "refused"}, {"cross-border", "permitted"},
        {"emergency", "passed"},  {"bad-token", "refused"},
    };
    QList<QJsonObject> written;
    for (const auto& [scenario, outcome] : scenarios) {
        written.append(check(scenario, "a.log"));
    }
    const QList<QJsonObject> checks = written;
    const ProcessOutcome run = story({"--json", "a.log"});
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.exitStatus, 0);
    const QList<QByteArray> stories = linesOf(run.output);
    ASSERT_EQ(stories.size(), checks.size());
    for (qsizetype i = 0; i < checks.size(); ++i) {
        SCOPED_TRACE(scenarios[i].first);
        const QJsonObject told = onlyObject(stories[i]);
        EXPECT_EQ(toJson(factsOf(told)), toJson(factsOf(checks[i]["explain"].toObject())));
        EXPECT_EQ(told["codes"], QJsonArray{code});
        EXPECT_EQ(told["outcome"], scenarios[i].second);
        EXPECT_EQ(told["passed"].toInt(), checks[i]["passedCodes"].toArray().size());
        EXPECT_EQ(told["failed"].toInt(), checks[i]["failedCodes"].toArray().size());
        const double total = checks[i]["explain"]["spentMs"]["total"].toDouble();
        EXPECT_NEAR(told["spentMs"]["total"].toDouble(), total, 20);
    }
}

TEST_F(Story, TellsParallelChecksApartByTheirThreads)
{
    check("dead-site", "one.log");
    check("blackout", "other.log");
    const QList<QByteArray> one = linesOf(content("one.log"));
    const QList<QByteArray> other = linesOf(content("other.log"));
    // Both begin before either of them ends.
    QByteArray mixed;
    for (qsizetype left = std::max(one.size(), other.size()); left > 0; --left) {
        mixed += left <= one.size() ? one[one.size() - left] + '\n' : QByteArray();
        mixed += left <= other.size() ? other[other.size() - left] + '\n' : QByteArray();
    }
    write("mixed.log", mixed);
    const QByteArray apart = story({"--json", "one.log"}).output + story({"--json", "other.log"}).output;
    EXPECT_EQ(story({"--json", "mixed.log"}).output, apart);
}

TEST_F(Story, ReadsRotatedAndCompressedFilesAsOneLogInAnyOrder)
{
    check("calm", "whole.log");
    check("blackout", "whole.log");
    QByteArray whole = content("whole.log");
    const QByteArray told = story({"--json", "whole.log"}).output;
    ASSERT_EQ(linesOf(told).size(), 2);
    const qsizetype first = whole.indexOf('\n', whole.size() / 3) + 1;
    const qsizetype second = whole.indexOf('\n', whole.lastIndexOf("Проверка кодов")) + 1;
    write("till.log.2", whole.first(first));
    write("till.log.1", whole.sliced(first, second - first));
    write("till.log", whole.sliced(second));
    ASSERT_EQ(runProcess("gzip", {path("till.log.2")}).exitStatus, 0);

    EXPECT_EQ(story({"--json", "till.log", "till.log.1", "till.log.2.gz"}).output, told);
    EXPECT_EQ(story({"--json", "till.log.2.gz", "-", "till.log"}, content("till.log.1")).output, told);
    EXPECT_EQ(story({"--json", "-"}, whole.replace('\n', "\r\n")).output, told);

    const QByteArray packed = content("till.log.2.gz");
    write("cut.gz", packed.first(packed.size() / 2));
    for (const char* file : {"cut.gz", "none.log", "."}) {
        const ProcessOutcome run = story({"till.log", file});
        EXPECT_EQ(run.exitStatus, 2) << file;
        EXPECT_TRUE(run.errors.contains("poshost: story: " + QByteArray(file) + ": ")) << run.errors.data();
    }
}

TEST_F(Story, SaysWhatItCouldNotRead)
{
    check("calm", "a.log");
    QList<QByteArray> lines = linesOf(content("a.log"));
    const QByteArray told = story({"--json", "a.log"}).output;
    const QByteArray end = lines.takeLast();
    const QByteArray whole = lines.join('\n') + '\n';

    const ProcessOutcome broken = story({"--json", "-"}, "2026-11-2\n" + whole + "\xff\xfe\n" + end);
    EXPECT_EQ(broken.output, told);
    EXPECT_EQ(broken.errors, "poshost: story: standard input: 2 of " + QByteArray::number(lines.size() + 3) +
                                 " lines could not be read, the first is line 1\n");
    const ProcessOutcome cut = story({"--json", "-"}, whole);
    EXPECT_EQ(onlyObject(cut.output)["outcome"], "unfinished");
    EXPECT_EQ(onlyObject(cut.output)["failed"], QJsonValue());
    const ProcessOutcome beheaded = story({"--json", "-"}, end);
    EXPECT_TRUE(beheaded.errors.contains("begin is not in these logs: 1")) << beheaded.errors.data();
    EXPECT_TRUE(beheaded.errors.contains("level must be info or debug"));
    const ProcessOutcome foreign = story({"-"}, "no log\n");
    EXPECT_EQ(foreign.exitStatus, 2);
}

TEST_F(Story, TellsTheResultAtLevelInfoToo)
{
    const QJsonObject explained = check("dead-site", "a.log", "info");
    const QJsonObject told = onlyObject(story({"--json", "a.log"}).output);
    EXPECT_EQ(told["outcome"], "passed");
    EXPECT_EQ(told["steps"][0]["class"], "network-error");
    EXPECT_TRUE(
        told["decision"]["text"].toString().endsWith(" (HTTP 200, " + explained["url"].toString() + ')'))
        << qPrintable(told["decision"]["text"].toString());
}

TEST_F(Story, GivesMetricsForATextfileCollector)
{
    const QString dead =
        check("dead-site", "a.log")["explain"].toObject()["steps"][0]["address"].toString().section('/', 0,
                                                                                                    2);
    for (const char* scenario : {"blackout", "silence", "blackout-alone"}) {
        check(scenario, "a.log");
    }
    const QByteArray text = story({"--metrics", "a.log"}).output;
    // Every metric has its HELP and TYPE, then its samples.
    static const QRegularExpression format(
        R"(^(# HELP (\w+) .+\n# TYPE \2 \w+\n(\2(_bucket|_sum|_count)?(\{[a-z]+="([^"\\\n]|\\["\\n])*"\})? [\d.]+\n)*)+$)");
    EXPECT_TRUE(format.match(text).hasMatch()) << text.data();
    EXPECT_EQ(text.count("# TYPE crptservice_"), 9);
    for (const QByteArray& line :
         {QByteArray("checks_total 4"), QByteArray("refusals_total 1"), QByteArray("offline_total 1"),
          QByteArray("permitted_without_verdict_total 1"), QByteArray("unfinished_total 0"),
          QByteArray("codes_total{verdict=\"permitted\"} 1"), QByteArray("codes_total{verdict=\"passed\"} 2"),
          "site_quarantines_total{site=\"" + dead.toUtf8() + "\"} 1",
          QByteArray("site_verdicts_total{site=\"module\"} 1"),
          QByteArray("check_duration_seconds_bucket{le=\"1\"} 3"),
          QByteArray("check_duration_seconds_bucket{le=\"+Inf\"} 4"),
          QByteArray("check_duration_seconds_count 4")}) {
        EXPECT_TRUE(text.contains("\ncrptservice_" + line + '\n')) << line.data() << " in " << text.data();
    }
}

TEST_F(Story, DrawsAPictureWhereGnuplotIsInstalled)
{
    check("calm", "a.log");
    const ProcessOutcome without = runProcess(POSHOST_PATH, {"story", path("a.log"), "--plot", path("a.svg")},
                                              {}, cleanEnvironment() + QStringList{"PATH=/none"});
    EXPECT_EQ(without.exitStatus, 2);
    EXPECT_TRUE(without.errors.contains("gnuplot-nox")) << without.errors.data();
    EXPECT_FALSE(QFile::exists(path("a.svg")));

    const ProcessOutcome run = story({"a.log", "--plot", "a.svg"});
    ASSERT_EQ(run.exitStatus, 0) << run.errors.data();
    QXmlStreamReader picture(content("a.svg"));
    QString text;
    while (!picture.atEnd()) {
        text += picture.readNext() == QXmlStreamReader::Characters ? picture.text().toString() : QString();
    }
    EXPECT_TRUE(!picture.hasError() && text.contains("без проверки")) << qPrintable(text);
}

}  // namespace
