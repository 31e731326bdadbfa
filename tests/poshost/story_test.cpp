#include <algorithm>

#include <QRegularExpression>
#include <QXmlStreamReader>

#include "tests/poshost/poshostrun.h"

namespace {

const QString code = "RU-401301-AAA0277031";

QList<QByteArray> linesOf(const QByteArray& text)
{
    QList<QByteArray> lines = text.split('\n');
    lines.removeAll({});
    return lines;
}

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

/// Logs that real checks have written.
class Story : public testing::Test
{
protected:
    [[nodiscard]] QString path(const QString& name) const { return mFolder.filePath(name); }

    void write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }

    [[nodiscard]] QByteArray content(const QString& name) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        return file.readAll();
    }

    /// Has a scenario's check written to the log of that name, and returns what it printed.
    QJsonObject check(const QString& scenario, const QString& log, const QByteArray& level = "debug") const
    {
        write("till.ini", "[MarkedGoods]\nmarkverifycrptservice = crpt\n[Log]\nlevel = " + level +
                              "\nfile = " + path(log).toUtf8() + '\n');
        return onlyObject(poshost({"--config", path("till.ini"), "--scenario", scenario, "verify",
                                   "--explain", "--json", "--request-timeout", "1", code})
                              .output);
    }

    [[nodiscard]] ProcessOutcome story(const QStringList& arguments, const QByteArray& input = {}) const
    {
        return runProcess("env", QStringList{"-C", mFolder.path(), POSHOST_PATH, "story"} + arguments, input,
                          cleanEnvironment());
    }

    const QTemporaryDir mFolder;
};

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
    EXPECT_EQ(broken.errors, "poshost: story: -: 2 of " + QByteArray::number(lines.size() + 3) +
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

/// Begin and end of a check, as another host's log has them.
QByteArray checkAt(const QByteArray& time, const QByteArray& checked, const QByteArray& end)
{
    return time + ",100 INFO [0x7f01] [crptclient] Проверка кодов маркировок: [" + checked + "]\n" + time +
           ",350 [0x7f01] INFO crptservice - Итог проверки: " + end + '\n';
}

/// Four checks on three days, the second a refusal, the third permitted without a verdict, the fourth
/// offline.
class FilteredStory : public Story
{
protected:
    FilteredStory()
    {
        const QByteArray site = "последний ответ: HTTP 200 https://site.example/api/v4/true-api/codes/check";
        write(
            "a.log",
            checkAt("2026-11-20T23:59:59", "0104<GS>93a, B", "прошли 2, отказано 0, вид ошибки 0, " + site) +
                checkAt("2026-11-21 10:30:00", "B", "прошли 0, отказано 1, вид ошибки 0, " + site) +
                checkAt("2026-11-21 11:00:00", "C",
                        "прошли 1, отказано 0, вид ошибки 1, последний ответ: нет") +
                checkAt("2026-11-22 00:00:00", "D",
                        "прошли 1, отказано 0, вид ошибки 0, последний ответ: ЛМЧЗ"));
    }
};

TEST_F(FilteredStory, LeavesOutWhatWasNotAskedFor)
{
    const std::pair<QStringList, QByteArray> cases[] = {
        {{}, "20 21 21 22"},
        {{"--since", "2026-11-21"}, "21 21 22"},
        {{"--until", "2026-11-21"}, "20 21 21"},
        {{"--since", "2026-11-21T10:30", "--until", "2026-11-21 11:00:00"}, "21"},
        {{"--since", "2026-11-21T10:30:01"}, "21 22"},
        {{"--code", "B"}, "20 21"},
        {{"--code", "0104\\x1d93"}, "20"},
        {{"--only", "trouble"}, "21 22"},
        {{"--only", "trouble", "--code", "D"}, "22"},
        {{"--since", "2027-01-01"}, ""},
    };
    for (const auto& [options, days] : cases) {
        QList<QByteArray> told;
        for (const QByteArray& each : linesOf(story(QStringList{"--json", "a.log"} + options).output)) {
            told.append(onlyObject(each)["begin"].toString().mid(8, 2).toUtf8());
        }
        EXPECT_EQ(told.join(' '), days) << options.join(' ').toStdString();
    }
    for (const QStringList& wrong : {QStringList{"a.log", "--since", "yesterday"},
                                     {"a.log", "--only", "bad"},
                                     {"a.log", "--json", "--metrics"},
                                     {}}) {
        EXPECT_EQ(story(wrong).exitStatus, 2) << wrong.join(' ').toStdString();
    }
}

TEST_F(Story, NamesRefusedCodesAndTheirReasons)
{
    // An older plug-in's end has their number alone.
    write("a.log", checkAt("2026-11-21 10:30:00", "A, B, C",
                           "прошли 0, отказано 5: A (Sold, NotOwner), B<GS>(1): (NotFound, 7), C («Нет, "
                           "(никогда)», 3), D («»), и ещё 1, вид ошибки 0, последний ответ: нет") +
                       checkAt("2026-11-21 10:40:00", "E",
                               "прошли 0, отказано 1, вид ошибки 0, последний ответ: нет"));
    const QList<QByteArray> told = linesOf(story({"--json", "a.log"}).output);
    ASSERT_EQ(told.size(), 2);
    const auto refused = [](const char* name, const QJsonArray& reasons, const char* message, int error) {
        return QJsonObject{{"code", name}, {"reasons", reasons}, {"message", message}, {"errorCode", error}};
    };
    EXPECT_EQ(toJson({{"", onlyObject(told[0])["refused"]}}),
              toJson({{"", QJsonArray{refused("A", {"Sold", "NotOwner"}, "", 0),
                                      refused("B<GS>(1):", {"NotFound"}, "", 7),
                                      refused("C", {}, "Нет, (никогда)", 3), refused("D", {}, "", 0)}}}));
    EXPECT_EQ(onlyObject(told[0])["failed"], 5);
    EXPECT_EQ(onlyObject(told[1])["refused"], QJsonArray());
    EXPECT_EQ(onlyObject(told[1])["failed"], 1);
    const QByteArray text = story({"a.log"}).output;
    for (const char* line : {"✗ A: уже продан, товар числится за другим владельцем\n",
                             "✗ C: «Нет, (никогда)», ошибка 3\n", "✗ и ещё 1\n"}) {
        EXPECT_TRUE(text.contains(line)) << line << " in " << text.data();
    }
}

TEST_F(FilteredStory, AddsUpByHourAndBySite)
{
    const QByteArray text = story({"a.log"}).output;
    for (const char* row : {"2026-11-21 10:00 +1 +25.0% +1 +0 +0 +0 +250 мс", "Всего +4 +100.0% +1 +1 +1 +0 ",
                            "https://site.example +2 +50.0% +0 +— +0\n", "локальный модуль +1 +25.0%",
                            "Кодов: прошли 3, отказано 1, без проверки 1\n"}) {
        EXPECT_TRUE(QString(text).contains(QRegularExpression(row))) << row << " in " << text.data();
    }
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
