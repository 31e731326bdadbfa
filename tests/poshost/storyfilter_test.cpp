#include <QRegularExpression>

#include "tests/poshost/storytest.h"

namespace {

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
        {{"--only", "refused"}, "21"},
        {{"--only", "permitted"}, "21"},
    };
    for (const auto& [options, days] : cases) {
        QList<QByteArray> told;
        for (const QByteArray& each : linesOf(story(QStringList{"--json", "a.log"} + options).output)) {
            told.append(onlyObject(each)["begin"].toString().mid(8, 2).toUtf8());
        }
        EXPECT_EQ(told.join(' '), days) << options.join(' ').toStdString();
    }
    for (const QStringList& wrong : {QStringList{"a.log", "--since", "tomorrow"},
                                     {"a.log", "--only", "bad"},
                                     {"a.log", "--json", "--metrics"},
                                     {}}) {
        EXPECT_EQ(story(wrong).exitStatus, 2) << wrong.join(' ').toStdString();
    }
}

TEST_F(FilteredStory, SaysThatNothingFitsAndOfWhenTheLogsAre)
{
    for (const QStringList& none : {QStringList{"--since", "today"}, {"--code", "no such code"}}) {
        const ProcessOutcome run = story(QStringList{"a.log"} + none);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.errors, "poshost: story: none of the 4 checks in these logs matches; the logs cover "
                              "2026-11-20 23:59:59 to 2026-11-22 00:00:00\n");
    }
    EXPECT_EQ(story({"a.log", "--metrics", "--since", "today"}).errors, "") << "a timer would mail it";
    EXPECT_EQ(story({"-"}).errors, "") << "an empty log is no log of a wrong level";
    EXPECT_TRUE(story({"-"}, "2026-11-20 10:00:00 [1] [other] text\n").errors.contains("level must be"));
}

TEST_F(Story, KnowsTodayAndYesterday)
{
    const QDate today = QDate::currentDate();
    for (int daysAgo = 2; daysAgo >= 0; --daysAgo) {
        const QByteArray noon = today.addDays(-daysAgo).toString(Qt::ISODate).toUtf8() + " 12:00:00";
        write(QString::number(daysAgo), checkAt(noon, QByteArray::number(daysAgo),
                                                "прошли 1, отказано 0, вид ошибки 0, последний ответ: нет"));
    }
    const std::pair<QStringList, QByteArray> cases[] = {
        {{"--since", "today"}, "0"},
        {{"--since", "yesterday"}, "1 0"},
        {{"--until", "yesterday"}, "2 1"},
        {{"--since", "yesterday", "--until", "yesterday"}, "1"}};
    for (const auto& [options, ages] : cases) {
        QByteArrayList told;
        for (const QByteArray& each : linesOf(story(QStringList{"--json", "0", "1", "2"} + options).output)) {
            told.append(onlyObject(each)["codes"][0].toString().toUtf8());
        }
        EXPECT_EQ(told.join(' '), ages) << options.join(' ').toStdString();
    }
}

TEST_F(FilteredStory, EndsQuietlyWhenTheReaderOfAReportHasSeenEnough)
{
    for (const auto& [options, errors] : {std::pair("", ""), {"--json", "standard output: Broken pipe"}}) {
        const ProcessOutcome run = runProcess(
            "bash",
            {"-c", QString("exec 3> >(:); wait $!; \"$0\" story %1 - >&3").arg(options), POSHOST_PATH},
            content("a.log"), cleanEnvironment());
        EXPECT_EQ(run.exitStatus, 4);
        EXPECT_TRUE(*errors == '\0' ? run.errors.isEmpty() : run.errors.contains(errors))
            << run.errors.data();
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

}  // namespace
